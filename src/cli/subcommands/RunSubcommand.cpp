#include "cli/subcommands/DocumentFiles.h"
#include "cli/subcommands/ScriptReader.h"
#include "cli/terminal/CliHost.h"
#include "controllers/SelectionModel.h"
#include "controllers/SoundController.h"
#include "document/AudioClipboard.h"
#include "scripting/CommandDictionary.h"
#include "scripting/SaveArguments.h"

namespace velloria
{

namespace
{

/// A last effect whose result would take more is computed as the file is written: through scratch files of
/// that size the disk, not the processor, would set the pace.
constexpr int64_t kMostScratchBytesBeforeSaving = int64_t{256} << 20;

QString placeOf(size_t index, const QString& text)
{
    return QStringLiteral("command %1 “%2”").arg(index + 1).arg(ScriptText::forDisplay(text));
}

/// Nothing when one of them is wrong, which has been said.
std::optional<std::vector<ParsedCommand>> parseAll(const std::vector<QString>& texts)
{
    std::vector<ParsedCommand> commands;
    commands.reserve(texts.size());
    for (const QString& text : texts) {
        QString problem;
        std::optional<ParsedCommand> command = CommandDictionary::parse(text, &problem);
        if (!command) {
            Terminal::say(QStringLiteral("%1: %2").arg(placeOf(commands.size(), text), problem));
            return std::nullopt;
        }
        commands.push_back(std::move(*command));
    }
    return commands;
}

/// Index of the command whose result is read once more, by the save that ends the run; -1 when there is none.
ptrdiff_t lastBeforeSaving(const std::vector<ParsedCommand>& commands, bool savesAtEnd)
{
    if (savesAtEnd)
        return std::ssize(commands) - 1;
    const bool endsWithSave =
        !commands.empty() && commands.back().description->name == QStringLiteral("save");
    return endsWithSave ? std::ssize(commands) - 2 : -1;
}

bool runAll(const std::vector<ParsedCommand>& commands, SoundController& controller, CliHost& host,
            bool savesAtEnd)
{
    const ptrdiff_t last = lastBeforeSaving(commands, savesAtEnd);
    for (size_t i = 0; i < commands.size(); ++i) {
        if (static_cast<ptrdiff_t>(i) == last)
            controller.setMostScratchBytes(kMostScratchBytesBeforeSaving);
        MaybeError error;
        if (Terminal::isInterrupted())
            error = Error::cancelled();
        else
            error = CommandDictionary::run(commands[i], controller);
        host.commandDidEnd();
        if (!error)
            continue;
        const QString reason = error->isUserCancelled() ? QStringLiteral("cancelled") : error->message;
        Terminal::say(QStringLiteral("%1: %2").arg(placeOf(i, commands[i].text), reason));
        return false;
    }
    return true;
}

bool saveAtEnd(SoundController& controller, CliHost& host, const std::filesystem::path& path,
               const QString& uti)
{
    SaveRequest request;
    request.path = path;
    request.uti = uti;
    request.operation = SaveOperation::saveTo;
    const MaybeError error = controller.save(request);
    host.commandDidEnd();
    if (error)
        Terminal::sayError(*error, path);
    return !error;
}

ExitStatus runCommands(const Arguments& arguments)
{
    const std::filesystem::path output = ArgumentValues::path(arguments.value("-o").value_or(QByteArray()));
    std::optional<SaveArguments::TargetType> outputType;
    QString problem;
    if (arguments.has("-o") &&
        !(outputType = SaveArguments::targetType({}, output, ArgumentValues::path(arguments.words().front()),
                                                 &problem))) {
        Terminal::say(QStringLiteral("-o: ") + problem);
        return ExitStatus::wrongArguments;
    }
    std::filesystem::path input;
    std::vector<QString> texts;
    if (!ScriptReader::read(arguments, input, texts))
        return ExitStatus::failed;
    const std::optional<std::vector<ParsedCommand>> commands = parseAll(texts);
    if (!commands)
        return ExitStatus::wrongArguments;
    const std::shared_ptr<SoundDocument> document = DocumentFiles::open(input);
    if (!document)
        return ExitStatus::failed;

    CliHost host;
    SoundController controller(document, host);
    controller.selection().selectAll();
    const bool isDone =
        runAll(*commands, controller, host, outputType.has_value()) &&
        (!outputType || saveAtEnd(controller, host, output, SaveArguments::utiOf(*outputType, *document, 0)));
    // What was copied may hold scratch files, which must go before the program's own objects do.
    AudioClipboard::clipboard().setContents(nullptr);
    return isDone ? ExitStatus::done : ExitStatus::failed;
}

} // namespace

Subcommand runSubcommand()
{
    Subcommand subcommand;
    subcommand.name = "run";
    subcommand.synopsis = QStringLiteral("IN [-o OUT] COMMAND... [--commands FILE]");
    subcommand.summary = QStringLiteral("Edits a sound with scripting commands.");
    subcommand.description = {
        QStringLiteral(
            "Runs scripting commands on the file in the order in which they are given; each is one "
            "argument, as 'amplify Gain=-6'. A command is its name, in any case, and then Key=value pairs; "
            "values with spaces stand in double quotes, lists have commas. All commands are checked before "
            "the first runs."),
        QStringLiteral(
            "The selection is everything at first. Afterwards it is what a window would select: new data "
            "after an effect or paste, the place after delete or cut, everything after crop. Effects work "
            "on everything when the selection is empty; edits of an empty selection do nothing."),
        QStringLiteral(
            "Each command is one step for undo, which restores the selection too. The first command that "
            "fails ends the run; nothing is written after it. Without -o or a save command nothing is "
            "written at all.")};
    subcommand.options = {
        {"-o", QStringLiteral("OUT"),
         QStringLiteral(
             "File to write at the end, of the type that its extension tells; with the extension of "
             "IN it stays what IN is. It may be IN.")},
        {"--commands", QStringLiteral("FILE"),
         QStringLiteral(
             "Reads commands from a file, one a line, at this place among the others; - is standard input, "
             "# begins a comment."),
         true}};
    subcommand.minWords = 1;
    subcommand.maxWords = -1;
    subcommand.run = runCommands;
    return subcommand;
}

} // namespace velloria
