#include "effects/filters/Eq3Band.h"

#include "effects/frame/CommonParameters.h"

namespace velloria
{

namespace
{

const QString kKeyWord = QStringLiteral("eq3Band");

std::vector<ParameterDescription> makeDescriptions()
{
    namespace Common = CommonParameters;
    std::vector<ParameterDescription> list;
    const auto add = [&list](ParameterDescription parameter, const QString& word, const QString& scriptKey) {
        Common::setKeys(parameter, kKeyWord, word, scriptKey);
        list.push_back(parameter);
    };
    add(Common::bandGain(QStringLiteral("Low"), QStringLiteral("Gain of what lies below.")),
        QStringLiteral("lowGain"), QStringLiteral("LowGain"));
    add(Common::frequency(QStringLiteral("Low frequency"),
                          QStringLiteral("Where the low gain has fallen to its half."), 200.0),
        QStringLiteral("lowFrequency"), QStringLiteral("LowFrequency"));
    add(Common::bandGain(QStringLiteral("Middle"), QStringLiteral("Gain around the middle frequency.")),
        QStringLiteral("midGain"), QStringLiteral("MidGain"));
    add(Common::frequency(QStringLiteral("Middle frequency"), QStringLiteral("Centre of the middle band."),
                          1000.0),
        QStringLiteral("midFrequency"), QStringLiteral("MidFrequency"));
    ParameterDescription width = Common::number(
        QStringLiteral("Middle Q"), QStringLiteral("The higher, the narrower is the middle band."), QString(),
        0.1, 20.0, 0.7);
    width.decimals = 2;
    add(width, QStringLiteral("midQ"), QStringLiteral("MidQ"));
    add(Common::bandGain(QStringLiteral("High"), QStringLiteral("Gain of what lies above.")),
        QStringLiteral("highGain"), QStringLiteral("HighGain"));
    add(Common::frequency(QStringLiteral("High frequency"),
                          QStringLiteral("Where the high gain has fallen to its half."), 5000.0),
        QStringLiteral("highFrequency"), QStringLiteral("HighFrequency"));
    return list;
}

const std::vector<ParameterDescription>& describeParameters()
{
    static const std::vector<ParameterDescription> list = makeDescriptions();
    return list;
}

PresetFormat makePresetFormat()
{
    PresetLayout layout{fourCharCode("eq03"), 200, {}};
    for (size_t parameter = 0; parameter <= Eq3Band::highFrequency; ++parameter)
        layout.fields.push_back({PresetField::Type::float64, parameter});
    // Two spaces: presets of this name lie there.
    return {QStringLiteral("Graphic EQ -  3 Band"),
            {layout},
            QStringLiteral("-[Eq3Band loadPresetData:] Invalid preset file")};
}

} // namespace

Eq3Band::Eq3Band(const QString& name)
    : CascadeFilter(name, describeParameters())
{
}

const PresetFormat* Eq3Band::presetFormat() const
{
    static const PresetFormat format = makePresetFormat();
    return &format;
}

std::vector<AnalogSection> Eq3Band::sections() const
{
    std::vector<AnalogSection> list;
    if (parameterValue(lowGain) != 0.0)
        list.push_back(AnalogSection::lowShelf(parameterValue(lowFrequency), parameterValue(lowGain)));
    if (parameterValue(midGain) != 0.0)
        list.push_back(
            AnalogSection::peak(parameterValue(midFrequency), parameterValue(midGain), parameterValue(midQ)));
    if (parameterValue(highGain) != 0.0)
        list.push_back(AnalogSection::highShelf(parameterValue(highFrequency), parameterValue(highGain)));
    return list;
}

std::vector<ResponseBand> Eq3Band::responseBands() const
{
    std::vector<ResponseBand> bands;
    const auto add = [&](size_t gain, size_t frequency, std::optional<size_t> width) {
        const double at = parameterValue(frequency);
        bands.push_back(
            {parameters()[gain].name, at, parameterValue(gain), frequency, gain, width, isWithinReach(at)});
    };
    add(lowGain, lowFrequency, std::nullopt);
    add(midGain, midFrequency, midQ);
    add(highGain, highFrequency, std::nullopt);
    return bands;
}

} // namespace velloria
