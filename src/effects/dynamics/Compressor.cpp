#include "effects/dynamics/Compressor.h"

#include "effects/frame/CommonParameters.h"

namespace velloria
{

namespace
{

/// What the automatic post gain leaves free below full scale.
constexpr double kHeadroomOfPeaksDB = 4.0;
constexpr double kHeadroomOfMeansDB = 8.0;
/// What a script may give for an automatic post gain.
constexpr double kNoPostGain = -9999.0;

ParameterDescription makeAutomatic(const QString& keyWord)
{
    ParameterDescription automatic;
    automatic.kind = ParameterDescription::Kind::toggle;
    automatic.name = QStringLiteral("Automatic post gain");
    automatic.summary =
        QStringLiteral("Lets the post gain follow threshold and ratio whenever one of them is moved.");
    automatic.defaultValue = 1.0;
    automatic.scriptDefaultValue = 1.0;
    CommonParameters::setKeys(automatic, keyWord, QStringLiteral("postGainAutomatic"));
    return automatic;
}

ParameterDescription makePostGain(const QString& keyWord)
{
    ParameterDescription gain = CommonParameters::number(
        QStringLiteral("Post gain"),
        QStringLiteral("How much louder everything becomes after that; left out, it makes up for the loss."),
        QStringLiteral("dB"), -20.0, 60.0, 0.0);
    gain.hardMinimum = -200.0;
    gain.hardMaximum = 200.0;
    gain.scriptSwitch = ScriptSwitch{Compressor::automatic, 0.0, 1.0, kNoPostGain};
    CommonParameters::setKeys(gain, keyWord, QStringLiteral("postGain"), QStringLiteral("PostGain"));
    return gain;
}

} // namespace

const std::vector<ParameterDescription>& Compressor::describeParameters()
{
    static const std::vector<ParameterDescription> list = [] {
        const Kind kind = {QStringLiteral("compressor"), DynamicsEngine::Law::compress,
                           QStringLiteral("What is louder becomes softer."), 0.0, 0.2};
        return std::vector<ParameterDescription>{
            makeThreshold(kind),
            makeRatio(kind, 15.0,
                      QStringLiteral("How many dB above the threshold become one; many make it a limiter.")),
            makeAttack(kind),
            makeRelease(kind),
            makeAutomatic(kind.keyWord),
            makePostGain(kind.keyWord),
            makeRms(kind)};
    }();
    return list;
}

Compressor::Compressor(const QString& name)
    : DynamicsEffect(name, describeParameters(), DynamicsEngine::Law::compress)
{
}

const PresetFormat* Compressor::presetFormat() const
{
    using Type = PresetField::Type;
    static const PresetFormat format = {QStringLiteral("Compressor"),
                                        {{fourCharCode("comp"),
                                          200,
                                          {{Type::float64, threshold},
                                           {Type::float64, attack, 1000.0},
                                           {Type::float64, release, 1000.0},
                                           {Type::float64, ratio},
                                           {Type::float64, postGain},
                                           {Type::uint8, automatic},
                                           {Type::uint8, rms}}}},
                                        QString()};
    return &format;
}

DynamicsEngine::Settings Compressor::settings() const
{
    return {parameters().isOn(rms), parameterValue(threshold), parameterValue(ratio),
            parameterValue(attack), parameterValue(release),   factorWithDecibels(parameterValue(postGain))};
}

void Compressor::adjustPostGain()
{
    const double headroom = parameters().isOn(rms) ? kHeadroomOfMeansDB : kHeadroomOfPeaksDB;
    const double lowered = (1.0 - 1.0 / parameterValue(ratio)) * parameterValue(threshold);
    setParameterValue(postGain, static_cast<double>(static_cast<float>(-headroom - lowered)));
}

void Compressor::setParameters(const QVariantMap& arguments)
{
    DynamicsEffect::setParameters(arguments);
    if (parameters().isOn(automatic))
        adjustPostGain();
}

/// Only what a person moves takes the post gain along: settings and presets bring their own, and the dialog's
/// defaults a gain of 0 until then.
void Compressor::parameterWasEdited(size_t index)
{
    if (index == postGain)
        setParameterValue(automatic, 0.0);
    else if (index != attack && index != release && parameters().isOn(automatic))
        adjustPostGain();
}

} // namespace velloria
