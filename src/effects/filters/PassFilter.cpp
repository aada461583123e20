#include "effects/filters/PassFilter.h"

#include "effects/frame/CommonParameters.h"

namespace velloria
{

PassFilter::PassFilter(const QString& name, const std::vector<ParameterDescription>& descriptions,
                       AnalogFilters::Make make)
    : CascadeFilter(name, descriptions)
    , mMake(make)
{
}

std::vector<ParameterDescription> PassFilter::makeDescriptions(const QString& keyWord, const QString& summary,
                                                               double defaultFrequency)
{
    ParameterDescription corner =
        CommonParameters::frequency(QStringLiteral("Frequency"), summary, defaultFrequency);
    CommonParameters::setKeys(corner, keyWord, QStringLiteral("frequency"), QStringLiteral("Frequency"));
    ParameterDescription steepness;
    steepness.kind = ParameterDescription::Kind::choice;
    steepness.name = QStringLiteral("Slope");
    steepness.summary = QStringLiteral("How fast the sound falls off beyond it, in dB an octave.");
    steepness.unit = QStringLiteral("dB/octave");
    // Each is two orders more than the one before.
    steepness.choices = {QStringLiteral("12"), QStringLiteral("24"), QStringLiteral("36"),
                         QStringLiteral("48")};
    CommonParameters::setKeys(steepness, keyWord, QStringLiteral("slope"), QStringLiteral("Slope"));
    return {corner, steepness};
}

std::vector<AnalogSection> PassFilter::sections() const
{
    const int order = 2 * (static_cast<int>(parameterValue(slope)) + 1);
    return AnalogFilters::butterworth(mMake, parameterValue(frequency), order);
}

std::vector<ResponseBand> PassFilter::responseBands() const
{
    const double corner = parameterValue(frequency);
    ResponseBand band;
    band.name = parameters()[frequency].name;
    band.frequency = corner;
    band.isOn = isWithinReach(corner);
    band.gainDB = band.isOn ? responseAt(corner) : 0.0;
    band.frequencyParameter = frequency;
    band.widthParameter = slope;
    return {band};
}

} // namespace velloria
