#include "effects/frame/EffectRemark.h"

namespace velloria
{

namespace
{

constexpr int kMostDigits = 10;

} // namespace

QString EffectRemark::text(Kind kind)
{
    switch (kind) {
    case Kind::silent:
        return QStringLiteral("The selection is silent; it stays as it is.");
    case Kind::tooQuiet:
        return QStringLiteral("The selection is all but silent, too quiet for any gain; it stays as it is.");
    case Kind::noLoudness:
        return QStringLiteral(
            "The selection is too short or too quiet to have a loudness; it stays as it is.");
    case Kind::beyondRate:
        return QStringLiteral("%1 Hz lies above what a sample rate of %2 Hz can hold (filters reach up to "
                              "%3 Hz); the sound stays as it is.");
    case Kind::bandsBeyondRate:
        return QStringLiteral("%1 Hz lies above what a sample rate of %2 Hz can hold (filters reach up to "
                              "%3 Hz); what is set there was left out.");
    case Kind::soundMissing:
        return QStringLiteral("The sound of the cowbell is missing; yours stays as it is. %1");
    }
    return {};
}

QStringList EffectRemark::texts()
{
    QStringList all;
    for (const Kind kind : {Kind::silent, Kind::tooQuiet, Kind::noLoudness, Kind::beyondRate,
                            Kind::bandsBeyondRate, Kind::soundMissing})
        all << text(kind);
    return all;
}

QString EffectRemark::inEnglish() const
{
    QString said = text(kind);
    for (const QVariant& argument : arguments)
        said = said.arg(argument.typeId() == QMetaType::Double
                            ? QString::number(argument.toDouble(), 'g', kMostDigits)
                            : argument.toString());
    return said;
}

} // namespace velloria
