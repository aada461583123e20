#include "effects/filters/Eq10Band.h"

#include "effects/frame/CommonParameters.h"

#include <cmath>
#include <numbers>

namespace velloria
{

namespace
{

const QString kKeyWord = QStringLiteral("eq10Band");
constexpr double kLowestFrequency = 31.25;
/// Of a bell whose gain in dB is halved an octave apart: 1 / (2 sinh(ln(2) / 2)).
constexpr double kQ = std::numbers::sqrt2;

/// As it is written on such devices: "63 Hz", "2 kHz".
QString frequencyText(double frequency)
{
    return frequency < 1000.0 ? QStringLiteral("%1 Hz").arg(std::lround(frequency))
                              : QStringLiteral("%1 kHz").arg(std::lround(frequency / 1000.0));
}

std::vector<ParameterDescription> makeDescriptions()
{
    std::vector<ParameterDescription> list;
    for (size_t band = 0; band < Eq10Band::kNumBands; ++band) {
        const double frequency = Eq10Band::frequencyOfBand(band);
        ParameterDescription gain = CommonParameters::bandGain(
            frequencyText(frequency),
            QStringLiteral("Gain of the octave around %1.").arg(frequencyText(frequency)));
        const QString number = QString::number(std::lround(frequency));
        CommonParameters::setKeys(gain, kKeyWord, QStringLiteral("gain") + number,
                                  QStringLiteral("Gain") + number);
        list.push_back(gain);
    }
    return list;
}

const std::vector<ParameterDescription>& describeParameters()
{
    static const std::vector<ParameterDescription> list = makeDescriptions();
    return list;
}

PresetFormat makePresetFormat()
{
    PresetLayout layout{fourCharCode("eq10"), 200, {}};
    for (size_t band = 0; band < Eq10Band::kNumBands; ++band)
        layout.fields.push_back({PresetField::Type::float64, band});
    return {QStringLiteral("Graphic EQ - 10 Band"),
            {layout},
            QStringLiteral("-[Eq10Band loadPresetData:] Invalid preset file")};
}

} // namespace

Eq10Band::Eq10Band(const QString& name)
    : CascadeFilter(name, describeParameters())
{
}

double Eq10Band::frequencyOfBand(size_t band)
{
    return std::ldexp(kLowestFrequency, static_cast<int>(band));
}

const PresetFormat* Eq10Band::presetFormat() const
{
    static const PresetFormat format = makePresetFormat();
    return &format;
}

std::vector<AnalogSection> Eq10Band::sections() const
{
    std::vector<AnalogSection> list;
    for (size_t band = 0; band < kNumBands; ++band)
        if (const double gain = parameterValue(band); gain != 0.0)
            list.push_back(AnalogSection::peak(frequencyOfBand(band), gain, kQ));
    return list;
}

std::vector<ResponseBand> Eq10Band::responseBands() const
{
    std::vector<ResponseBand> bands;
    for (size_t band = 0; band < kNumBands; ++band) {
        ResponseBand shown;
        shown.name = parameters()[band].name;
        shown.frequency = frequencyOfBand(band);
        shown.gainDB = parameterValue(band);
        shown.gainParameter = band;
        shown.isOn = isWithinReach(shown.frequency);
        bands.push_back(shown);
    }
    return bands;
}

} // namespace velloria
