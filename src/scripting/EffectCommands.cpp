#include "controllers/EffectController.h"
#include "controllers/SelectionModel.h"
#include "controllers/SoundController.h"
#include "effects/EffectRegistry.h"
#include "scripting/CommandGroups.h"
#include "scripting/SelectionArguments.h"

#include <cmath>
#include <limits>

namespace velloria
{

namespace
{

using Type = CommandParameter::Type;
using Kind = ParameterDescription::Kind;

const QString kDirection = QStringLiteral("Direction");
const QString kStart = QStringLiteral("Start");
const QString kEnd = QStringLiteral("End");
const QString kDataPoints = QStringLiteral("DataPoints");
const QString kFadeSpecial = QStringLiteral("fade special");

MaybeError runEffect(const EffectEntry& entry, SoundController& controller, const QVariantMap& arguments)
{
    if (controller.document().numberOfFrames() == 0)
        return std::nullopt;
    const std::unique_ptr<Filter> filter = entry.make(entry.scriptName);
    filter->setParameters(arguments);
    controller.effects().setUpFilter(*filter);
    MaybeError error = controller.effects().runFilter(*filter);
    return !error && filter->wasCancelled() ? Error::cancelled() : error;
}

CommandParameter numberParameter(const ParameterDescription& description)
{
    constexpr double none = std::numeric_limits<double>::max();
    CommandParameter parameter;
    // What a script may give, which is more than the dialog offers.
    if (description.hardMinimum > -none)
        parameter.minimum = description.hardMinimum * description.scriptFactor;
    if (description.hardMaximum < none)
        parameter.maximum = description.hardMaximum * description.scriptFactor;
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
    parameter.minimum = 0;
    parameter.maximum = isToggle ? 1 : static_cast<int>(description.choices.size()) - 1;
    parameter.defaultValue = static_cast<int>(description.scriptDefaultValue);
    for (qsizetype i = 0; i < parameter.choices.size(); ++i)
        parameter.summary += QStringLiteral(" %1 is %2.").arg(i).arg(parameter.choices[i]);
    return parameter;
}

CommandParameter makeEffectParameter(const ParameterDescription& description)
{
    CommandParameter parameter;
    if (description.isList())
        parameter.type = Type::numberList;
    else if (description.kind == Kind::number)
        parameter = numberParameter(description);
    else
        parameter = choiceParameter(description);
    parameter.key = description.scriptKey;
    parameter.unit = description.scriptUnit.isEmpty() ? description.unit : description.scriptUnit;
    parameter.summary.prepend(description.summary);
    return parameter;
}

std::vector<CommandParameter> parametersOf(const EffectEntry& entry)
{
    std::vector<CommandParameter> parameters;
    const std::unique_ptr<Filter> filter = entry.make(entry.scriptName);
    for (const ParameterDescription& description : filter->parameters().descriptions())
        if (!description.scriptKey.isEmpty())
            parameters.push_back(makeEffectParameter(description));
    return parameters;
}

CommandDescription effectCommand(const EffectEntry& entry)
{
    CommandDescription command;
    command.name = entry.scriptName;
    command.summary = entry.summary;
    command.parameters = parametersOf(entry);
    command.run = [&entry](SoundController& controller, const QVariantMap& arguments) {
        return runEffect(entry, controller, arguments);
    };
    return command;
}

MaybeError fade(SoundController& controller, const QVariantMap& arguments)
{
    const QString name = arguments.contains(kDataPoints)
                             ? kFadeSpecial
                             : QStringLiteral("fade ") + arguments.value(kDirection).toString();
    if (arguments.contains(kStart) || arguments.contains(kEnd)) {
        MaybeError error;
        const auto range = SelectionArguments::selection(controller.document(), arguments, &error);
        if (!range)
            return error;
        // Without frames it would turn into everything.
        const double rate = controller.document().sampleRate();
        if (frameAtTime(range->startTime, rate) == frameAtTime(range->endTime, rate))
            return std::nullopt;
        SoundSelection selection = controller.selection().normalizedSelection();
        selection.startTime = range->startTime;
        selection.endTime = range->endTime;
        controller.selection().setSelection(selection);
    }
    return runEffect(*EffectRegistry::effectWithScriptName(name), controller, arguments);
}

/// One command for all fades, beside one for each.
CommandDescription fadeCommand()
{
    CommandDescription command;
    command.name = QStringLiteral("fade");
    command.summary = QStringLiteral("Fades in, out or along an envelope.");
    command.parameters = {
        makeParameter(kDirection, Type::string, {}, {}, {}, {}, QStringLiteral("“in” or “out”.")),
        makeParameter(
            kStart, Type::number, QStringLiteral("s"), {}, {}, {},
            QStringLiteral("Start of the fade; with neither Start nor End, the selection is faded.")),
        makeParameter(kEnd, Type::number, QStringLiteral("s"), {}, {}, {},
                      QStringLiteral("End of the fade.")),
    };
    command.parameters.front().choices = {QStringLiteral("in"), QStringLiteral("out")};
    for (const CommandParameter& parameter :
         parametersOf(*EffectRegistry::effectWithScriptName(kFadeSpecial)))
        command.parameters.push_back(parameter);
    command.check = [](const QVariantMap& arguments) {
        return arguments.contains(kDirection) || arguments.contains(kDataPoints)
                   ? QString()
                   : QStringLiteral("Direction=in or Direction=out is missing");
    };
    command.run = fade;
    return command;
}

} // namespace

void CommandGroups::appendEffectCommands(std::vector<CommandDescription>& commands)
{
    for (const EffectEntry& entry : EffectRegistry::effects())
        commands.push_back(effectCommand(entry));
    commands.push_back(fadeCommand());
}

} // namespace velloria
