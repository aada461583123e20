#include "scripting/CommandDictionary.h"

#include "controllers/SoundController.h"
#include "document/UndoGroup.h"
#include "scripting/CommandGroups.h"

#include <QHash>

namespace velloria::CommandDictionary
{

namespace
{

QString normalizedName(const QString& name)
{
    return name.simplified().toCaseFolded();
}

} // namespace

const std::vector<CommandDescription>& commands()
{
    static const std::vector<CommandDescription> all = [] {
        std::vector<CommandDescription> list;
        CommandGroups::appendEditCommands(list);
        CommandGroups::appendConversionCommands(list);
        CommandGroups::appendMarkerCommands(list);
        CommandGroups::appendDocumentCommands(list);
        CommandGroups::appendEffectCommands(list);
        CommandGroups::appendGeneratorCommands(list);
        return list;
    }();
    return all;
}

const CommandDescription* commandWithName(const QString& name)
{
    static const QHash<QString, const CommandDescription*> byName = [] {
        QHash<QString, const CommandDescription*> table;
        for (const CommandDescription& command : commands())
            table.insert(normalizedName(command.name), &command);
        return table;
    }();
    return byName.value(normalizedName(name));
}

MaybeError run(const ParsedCommand& command, SoundController& controller)
{
    const CommandDescription& description = *command.description;
    if (!description.makesStep)
        return description.run(controller, command.arguments);
    const UndoGroup group(controller.document(),
                          QStringLiteral("AppleScript '%1' Command").arg(description.name));
    return description.run(controller, command.arguments);
}

} // namespace velloria::CommandDictionary
