#include "effects/frame/CommonParameters.h"

namespace velloria::CommonParameters
{

ParameterDescription level(const QString& name, const QString& summary, double defaultDB)
{
    ParameterDescription parameter = number(name, summary, QStringLiteral("dB"), -60.0, 6.0, defaultDB);
    parameter.hardMinimum = -200.0;
    parameter.hardMaximum = 40.0;
    return parameter;
}

ParameterDescription number(const QString& name, const QString& summary, const QString& unit, double minimum,
                            double maximum, double defaultValue)
{
    ParameterDescription parameter;
    parameter.name = name;
    parameter.summary = summary;
    parameter.unit = unit;
    parameter.minimum = minimum;
    parameter.maximum = maximum;
    parameter.hardMinimum = minimum;
    parameter.hardMaximum = maximum;
    parameter.defaultValue = defaultValue;
    parameter.scriptDefaultValue = defaultValue;
    return parameter;
}

ParameterDescription bandGain(const QString& name, const QString& summary)
{
    ParameterDescription parameter = number(name, summary, QStringLiteral("dB"), -18.0, 18.0, 0.0);
    parameter.hardMinimum = -48.0;
    parameter.hardMaximum = 48.0;
    return parameter;
}

ParameterDescription frequency(const QString& name, const QString& summary, double defaultFrequency)
{
    ParameterDescription parameter =
        number(name, summary, QStringLiteral("Hz"), 20.0, 20000.0, defaultFrequency);
    parameter.hardMinimum = 1.0;
    parameter.hardMaximum = 96000.0;
    parameter.decimals = 0;
    return parameter;
}

ParameterDescription letItRing(const QString& keyWord)
{
    ParameterDescription parameter;
    parameter.kind = ParameterDescription::Kind::toggle;
    parameter.name = QStringLiteral("Let it ring");
    parameter.summary =
        QStringLiteral("Keeps what sounds on after the selection, and adds it to what follows there.");
    setKeys(parameter, keyWord, QStringLiteral("letItRing"), QStringLiteral("LetItRing"));
    return parameter;
}

void setKeys(ParameterDescription& parameter, const QString& keyWord, const QString& word,
             const QString& scriptKey)
{
    parameter.settingsKey = QStringLiteral("filter.%1.%2").arg(keyWord, word);
    parameter.scriptKey = scriptKey;
}

} // namespace velloria::CommonParameters
