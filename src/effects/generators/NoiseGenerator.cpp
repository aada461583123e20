#include "effects/generators/NoiseGenerator.h"

namespace velloria
{

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
    std::seed_seq sequence(mSeed.begin(), mSeed.end());
    mNoise.seed(sequence);
}

void NoiseGenerator::render(std::span<float> samples)
{
    const auto factor = static_cast<float>(amplitude());
    for (float& sample : samples)
        sample = mNoise.next() * factor;
    advance(samples.size());
}

} // namespace velloria
