#include "controllers/EffectController.h"
#include "controllers/SelectionModel.h"
#include "controllers/SoundController.h"
#include "effects/EffectRegistry.h"
#include "effects/filters/FreeCurve.h"
#include "scripting/CommandGroups.h"
#include "scripting/EffectKeys.h"
#include "scripting/SelectionArguments.h"

#include <cmath>

namespace velloria
{

namespace
{

using Type = CommandParameter::Type;

const QString kDirection = QStringLiteral("Direction");
const QString kStart = QStringLiteral("Start");
const QString kEnd = QStringLiteral("End");
const QString kDataPoints = QStringLiteral("DataPoints");
const QString kEqualize = QStringLiteral("equalize");
const QString kFadeSpecial = QStringLiteral("fade special");

MaybeError runEffect(const EffectEntry& entry, SoundController& controller, const QVariantMap& arguments)
{
    if (controller.document().numberOfFrames() == 0)
        return std::nullopt;
    const std::shared_ptr<Filter> filter = entry.make(entry.scriptName);
    filter->setParameters(arguments);
    controller.effects().setUpFilter(*filter);
    MaybeError error = controller.effects().runFilter(*filter);
    return !error && filter->wasCancelled() ? Error::cancelled() : error;
}

std::vector<CommandParameter> parametersOf(const EffectEntry& entry)
{
    return EffectKeys::keysOf(entry.make(entry.scriptName)->parameters());
}

/// All lists are points of a curve. One that is too short would be left out of account, a level beyond the
/// largest one taken back to that.
QString pointsProblem(const EffectEntry& entry, const QVariantMap& arguments)
{
    const std::unique_ptr<Filter> filter = entry.make(entry.scriptName);
    for (const ParameterDescription& description : filter->parameters().descriptions()) {
        if (!description.isList() || !arguments.contains(description.scriptKey))
            continue;
        const QVariantList numbers = arguments.value(description.scriptKey).toList();
        if (numbers.size() % 2 != 0 || numbers.size() < static_cast<qsizetype>(description.fewestInList))
            return QStringLiteral("%1= needs pairs of numbers, at least %2")
                .arg(description.scriptKey)
                .arg(description.fewestInList / 2);
        for (qsizetype i = 0; entry.scriptName == kEqualize && i < numbers.size(); i += 2) {
            if (numbers[i].toDouble() <= 0.0 || std::abs(numbers[i + 1].toDouble()) > FreeCurve::kMostDB)
                return QStringLiteral("%1= needs frequencies above 0 and levels from %2 to %3")
                    .arg(description.scriptKey)
                    .arg(-FreeCurve::kMostDB)
                    .arg(FreeCurve::kMostDB);
        }
    }
    return {};
}

/// Of keys that say the same thing in different ways only one can count.
QString contradiction(const EffectEntry& entry, const QVariantMap& arguments)
{
    const std::unique_ptr<Filter> filter = entry.make(entry.scriptName);
    filter->setParameters(arguments);
    const EffectParameters& parameters = filter->parameters();
    for (size_t i = 0; i < parameters.size(); ++i) {
        const ParameterDescription& unused = parameters[i];
        if (parameters.isUsed(i) || !arguments.contains(unused.scriptKey))
            continue;
        for (const ParameterDescription& other : parameters.descriptions()) {
            if (!other.scriptSwitch || other.scriptSwitch->parameter != unused.usedWhen->parameter ||
                other.scriptKey == unused.scriptKey)
                continue;
            if (arguments.contains(other.scriptKey))
                return QStringLiteral("%1= and %2= exclude each other")
                    .arg(unused.scriptKey, other.scriptKey);
            if (other.scriptSwitch->whenGiven == unused.usedWhen->value)
                return QStringLiteral("%1= means nothing without %2=").arg(unused.scriptKey, other.scriptKey);
        }
    }
    return {};
}

CommandDescription effectCommand(const EffectEntry& entry)
{
    CommandDescription command;
    command.name = entry.scriptName;
    command.summary = entry.summary;
    command.parameters = parametersOf(entry);
    command.check = [&entry](const QVariantMap& arguments) {
        const QString problem = pointsProblem(entry, arguments);
        return problem.isEmpty() ? contradiction(entry, arguments) : problem;
    };
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
                   ? pointsProblem(*EffectRegistry::effectWithScriptName(kFadeSpecial), arguments)
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
