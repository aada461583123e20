#include "controllers/GeneratorController.h"
#include "controllers/SoundController.h"
#include "effects/GeneratorRegistry.h"
#include "scripting/CommandGroups.h"
#include "scripting/EffectKeys.h"

namespace velloria
{

namespace
{

MaybeError runGenerator(const GeneratorEntry& entry, SoundController& controller,
                        const QVariantMap& arguments)
{
    const std::unique_ptr<Generator> generator = entry.make(entry.scriptName);
    generator->parameters().setArguments(arguments);
    const QString& durationKey = generator->parameters()[Generator::kDuration].scriptKey;
    if (!arguments.contains(durationKey))
        generator->parameters().setValue(Generator::kDuration,
                                         controller.selection().normalizedSelection().duration());
    GeneratorController inserter(controller.document(), controller.selection(), controller.host());
    return inserter.insert(*generator, {});
}

CommandDescription generatorCommand(const GeneratorEntry& entry)
{
    CommandDescription command;
    command.name = entry.scriptName;
    command.summary = entry.summary;
    command.parameters = EffectKeys::keysOf(entry.make(entry.scriptName)->parameters());
    // Without one the selection's length counts, whatever that is.
    command.parameters[Generator::kDuration].defaultValue = QVariant();
    command.run = [&entry](SoundController& controller, const QVariantMap& arguments) {
        return runGenerator(entry, controller, arguments);
    };
    return command;
}

} // namespace

void CommandGroups::appendGeneratorCommands(std::vector<CommandDescription>& commands)
{
    for (const GeneratorEntry& entry : GeneratorRegistry::generators())
        commands.push_back(generatorCommand(entry));
}

} // namespace velloria
