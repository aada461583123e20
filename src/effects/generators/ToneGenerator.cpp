#include "effects/generators/ToneGenerator.h"

#include <cmath>
#include <numbers>

namespace velloria
{

double ToneGenerator::valueAt(Shape shape, double cycles)
{
    switch (shape) {
    case ToneGenerator::square:
        return cycles - std::floor(cycles) <= 0.5 ? 1.0 : -1.0;
    case ToneGenerator::triangle: {
        const double shifted = cycles - 0.25;
        return 2.0 * std::fabs(2.0 * (shifted - std::floor(shifted)) - 1.0) - 1.0;
    }
    case ToneGenerator::sine:
        break;
    }
    return std::sin(2.0 * std::numbers::pi * cycles);
}

ParameterDescription ToneGenerator::waveShape()
{
    ParameterDescription shape;
    shape.kind = ParameterDescription::Kind::choice;
    shape.name = QStringLiteral("Waveform");
    shape.summary = QStringLiteral("Shape of the tone.");
    shape.choices = {QStringLiteral("Sine"), QStringLiteral("Square"), QStringLiteral("Triangle")};
    shape.settingsKey = QStringLiteral("insert.waveShape");
    shape.scriptKey = QStringLiteral("WaveShape");
    return shape;
}

const std::vector<ParameterDescription>& ToneGenerator::describeParameters()
{
    static const std::vector<ParameterDescription> list = [] {
        std::vector<ParameterDescription> made = commonDescriptions();
        made.push_back(frequency(QStringLiteral("Frequency"), QStringLiteral("Pitch of the tone."), 440.0,
                                 QStringLiteral("frequency"), QStringLiteral("Frequency")));
        made.push_back(waveShape());
        return made;
    }();
    return list;
}

ToneGenerator::ToneGenerator(const QString& name)
    : Generator(name, describeParameters())
{
}

void ToneGenerator::render(std::span<float> samples)
{
    const double factor = amplitude();
    const double hertz = parameters().value(kFrequency);
    const auto shape = static_cast<Shape>(parameters().value(kWaveShape));
    const int64_t start = advance(samples.size());
    for (size_t i = 0; i < samples.size(); ++i) {
        const double cycles = static_cast<double>(start + static_cast<int64_t>(i)) * hertz / sampleRate();
        samples[i] = static_cast<float>(valueAt(shape, cycles) * factor);
    }
}

} // namespace velloria
