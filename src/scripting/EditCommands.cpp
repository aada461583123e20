#include "controllers/EditCommands.h"
#include "controllers/SelectionModel.h"
#include "controllers/SoundController.h"
#include "document/AudioClipboard.h"
#include "scripting/CommandGroups.h"
#include "scripting/ScriptText.h"
#include "scripting/SelectionArguments.h"

namespace velloria
{

namespace
{

const QString kFile = QStringLiteral("File");

MaybeError select(SoundController& controller, const QVariantMap& arguments)
{
    MaybeError error;
    if (const auto selection = SelectionArguments::selection(controller.document(), arguments, &error))
        controller.selection().setSelection(*selection);
    return error;
}

MaybeError copy(SoundController& controller, const QVariantMap& arguments)
{
    if (arguments.isEmpty()) {
        controller.editing().copy();
        return std::nullopt;
    }
    MaybeError error;
    std::shared_ptr<SoundDocument> document = controller.sharedDocument();
    if (arguments.contains(kFile))
        document = controller.editing().documentForCopyingFrom(
            ScriptText::toPath(arguments.value(kFile).toString()), &error);
    if (!document)
        return error;
    if (const auto selection = SelectionArguments::selection(*document, arguments, &error))
        EditCommands::copyFrom(*document, *selection);
    return error;
}

CommandDescription copyCommand()
{
    CommandDescription command;
    command.name = QStringLiteral("copy");
    command.summary = QStringLiteral("Puts the selection on the clipboard, or a range of another file.");
    command.parameters = SelectionArguments::parameters();
    command.parameters.insert(command.parameters.begin(),
                              makeParameter(kFile, CommandParameter::Type::path, {}, {}, {}, {},
                                            QStringLiteral("File to copy from, instead of the document.")));
    command.run = copy;
    command.check = SelectionArguments::check;
    command.makesStep = false;
    return command;
}

/// A command without keys.
CommandDescription plainCommand(const char* name, const char* summary,
                                const std::function<MaybeError(SoundController&)>& run)
{
    CommandDescription command;
    command.name = QString::fromLatin1(name);
    command.summary = QString::fromLatin1(summary);
    command.run = [run](SoundController& controller, const QVariantMap&) { return run(controller); };
    return command;
}

/// The same for what cannot fail.
CommandDescription plainCommand(const char* name, const char* summary, void (*run)(SoundController&))
{
    return plainCommand(name, summary, [run](SoundController& controller) {
        run(controller);
        return MaybeError();
    });
}

MaybeError paste(SoundController& controller)
{
    // A script that pastes before it copies is worth a word, but not the end of its work.
    if (!AudioClipboard::clipboard().hasContent()) {
        controller.host().alerts().showWarning(QStringLiteral("paste: nothing was copied yet."));
        return std::nullopt;
    }
    MaybeError error;
    controller.editing().paste(QString(), &error);
    return error;
}

} // namespace

CommandParameter makeParameter(const QString& key, CommandParameter::Type type, const QString& unit,
                               const QVariant& minimum, const QVariant& maximum, const QVariant& defaultValue,
                               const QString& summary)
{
    CommandParameter parameter;
    parameter.key = key;
    parameter.type = type;
    parameter.unit = unit;
    parameter.minimum = minimum;
    parameter.maximum = maximum;
    parameter.defaultValue = defaultValue;
    parameter.summary = summary;
    return parameter;
}

void CommandGroups::appendEditCommands(std::vector<CommandDescription>& commands)
{
    CommandDescription selectCommand;
    selectCommand.name = QStringLiteral("select");
    selectCommand.summary =
        QStringLiteral("Selects a range, clamped to the document; without keys, everything.");
    selectCommand.parameters = SelectionArguments::parameters();
    selectCommand.run = select;
    selectCommand.check = SelectionArguments::check;
    selectCommand.makesStep = false;
    commands.push_back(selectCommand);
    commands.push_back(copyCommand());

    commands.push_back(plainCommand("cut", "Copies the selection and deletes it.",
                                    [](SoundController& controller) { controller.editing().cut({}); }));
    commands.push_back(
        plainCommand("paste",
                     "Replaces the selection by what was copied (inserts it, when the selection is "
                     "empty) and selects it.",
                     paste));
    commands.push_back(
        plainCommand("delete", "Takes the selection out; what follows moves up.",
                     [](SoundController& controller) { controller.editing().deleteSelection({}); }));
    commands.push_back(plainCommand("clear", "Replaces the selection by silence of its length.",
                                    [](SoundController& controller) { controller.editing().clear({}); }));
    commands.push_back(plainCommand("crop", "Deletes all but the selection, other tracks included.",
                                    [](SoundController& controller) { controller.editing().crop({}); }));
    commands.push_back(plainCommand("undo",
                                    "Takes the last command back; nothing happens when there is none.",
                                    [](SoundController& controller) { controller.editing().undo(); }));
    commands.back().makesStep = false;
    commands.push_back(plainCommand("redo", "Does again what was taken back.",
                                    [](SoundController& controller) { controller.editing().redo(); }));
    commands.back().makesStep = false;
}

} // namespace velloria
