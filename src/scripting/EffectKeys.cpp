#include "scripting/EffectKeys.h"

#include <cmath>
#include <limits>

namespace velloria::EffectKeys
{

namespace
{

using Type = CommandParameter::Type;
using Kind = ParameterDescription::Kind;

constexpr qsizetype kMostExplained = 12;

/// What a script may give, which is more than the dialog offers.
void setBounds(const ParameterDescription& description, CommandParameter& parameter)
{
    constexpr double none = std::numeric_limits<double>::max();
    if (description.hardMinimum > -none)
        parameter.minimum = description.hardMinimum * description.scriptFactor;
    if (description.hardMaximum < none)
        parameter.maximum = description.hardMaximum * description.scriptFactor;
}

CommandParameter numberParameter(const ParameterDescription& description)
{
    CommandParameter parameter;
    setBounds(description, parameter);
    const std::optional<ScriptSwitch>& other = description.scriptSwitch;
    if (other && std::isfinite(other->leftOutUpTo))
        parameter.minimum = QVariant();
    if (!other)
        parameter.defaultValue = description.scriptDefaultValue * description.scriptFactor;
    return parameter;
}

CommandParameter choiceParameter(const ParameterDescription& description)
{
    CommandParameter parameter;
    const bool isToggle = description.kind == Kind::toggle;
    parameter.type = isToggle ? Type::boolean : Type::integer;
    parameter.choices = isToggle ? QStringList() : description.choices;
    parameter.listedName = description.listedName;
    parameter.minimum = 0;
    parameter.maximum = isToggle ? 1 : static_cast<int>(description.choices.size()) - 1;
    parameter.defaultValue = static_cast<int>(description.scriptDefaultValue);
    // Of many, notes say, the first and the last tell enough.
    const qsizetype step = parameter.choices.size() > kMostExplained ? parameter.choices.size() - 1 : 1;
    for (qsizetype i = 0; i < parameter.choices.size(); i += step)
        parameter.summary += QStringLiteral(" %1 is %2.").arg(i).arg(parameter.choices[i]);
    return parameter;
}

CommandParameter keyOf(const ParameterDescription& description)
{
    CommandParameter parameter;
    if (description.isList()) {
        parameter.type = Type::numberList;
        setBounds(description, parameter);
    } else if (description.kind == Kind::number) {
        parameter = numberParameter(description);
    } else {
        parameter = choiceParameter(description);
    }
    parameter.key = description.scriptKey;
    parameter.unit = description.scriptUnit.isEmpty() ? description.unit : description.scriptUnit;
    parameter.summary.prepend(description.summary);
    return parameter;
}

} // namespace

std::vector<CommandParameter> keysOf(const EffectParameters& parameters)
{
    std::vector<CommandParameter> keys;
    for (const ParameterDescription& description : parameters.descriptions())
        if (!description.scriptKey.isEmpty())
            keys.push_back(keyOf(description));
    return keys;
}

} // namespace velloria::EffectKeys
