#include "effects/generators/NoiseGenerator.h"

namespace velloria
{

namespace
{

/// Values have 31 bits; two of them are added and brought to -1 ... 1.
constexpr float kScale = 4.656613e-10F;

} // namespace

const std::vector<ParameterDescription>& NoiseGenerator::describeParameters()
{
    static const std::vector<ParameterDescription> list = commonDescriptions();
    return list;
}

NoiseGenerator::NoiseGenerator(const QString& name)
    : Generator(name, describeParameters())
{
}

void NoiseGenerator::begin(double sampleRate)
{
    Generator::begin(sampleRate);
    mRandom.seed(std::mt19937::default_seed);
}

void NoiseGenerator::render(std::span<float> samples)
{
    const auto factor = static_cast<float>(amplitude());
    for (float& sample : samples) {
        const uint32_t first = static_cast<uint32_t>(mRandom()) >> 1;
        const uint32_t second = static_cast<uint32_t>(mRandom()) >> 1;
        sample = (static_cast<float>(first + second) * kScale - 1.0F) * factor;
    }
    advance(samples.size());
}

} // namespace velloria
