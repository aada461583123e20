#include "effects/generators/FMGenerator.h"

#include <cmath>
#include <numbers>

namespace velloria
{

const std::vector<ParameterDescription>& FMGenerator::describeParameters()
{
    static const std::vector<ParameterDescription> list = [] {
        std::vector<ParameterDescription> made = commonDescriptions();
        made.push_back(frequency(QStringLiteral("Carrier"), QStringLiteral("Frequency in the middle."), 440.0,
                                 QStringLiteral("carrier"), QStringLiteral("Carrier")));
        made.push_back(frequency(QStringLiteral("Modulation"),
                                 QStringLiteral("How often a second the frequency sweeps."), 5.0,
                                 QStringLiteral("modulation"), QStringLiteral("Modulation")));
        made.push_back(frequency(QStringLiteral("Deviation"),
                                 QStringLiteral("How far the frequency sweeps to each side."), 15.0,
                                 QStringLiteral("deviation"), QStringLiteral("Deviation")));
        made[kModulation].minimum = 0.1;
        made[kDeviation].minimum = 0.0;
        // Beyond lies what is typed: a slider up to the highest frequency would have no room for a vibrato.
        made[kDeviation].maximum = 200.0;
        made[kDeviation].hardMinimum = 0.0;
        return made;
    }();
    return list;
}

FMGenerator::FMGenerator(const QString& name)
    : Generator(name, describeParameters())
{
}

void FMGenerator::render(std::span<float> samples)
{
    constexpr double turn = 2.0 * std::numbers::pi;
    const double factor = amplitude();
    const double carrier = parameters().value(kCarrier);
    const double modulation = parameters().value(kModulation);
    const double index = parameters().value(kDeviation) / (turn * modulation);
    const int64_t start = advance(samples.size());
    for (size_t i = 0; i < samples.size(); ++i) {
        const double seconds = static_cast<double>(start + static_cast<int64_t>(i)) / sampleRate();
        const double sweep = std::sin(turn * modulation * seconds) * index;
        samples[i] = static_cast<float>(std::sin(turn * (carrier * seconds - sweep)) * factor);
    }
}

} // namespace velloria
