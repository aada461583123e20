#include "cli/subcommands/DocumentFiles.h"
#include "cli/terminal/OutputSink.h"
#include "cli/terminal/Terminal.h"
#include "document/MarkerSplitter.h"
#include "scripting/SaveArguments.h"

#include <utility>

namespace velloria
{

namespace
{

bool readRequest(const Arguments& arguments, MarkerSplitter::Request& request)
{
    const std::optional<QByteArray> folder = arguments.value("--to");
    const std::optional<QByteArray> typeName = arguments.value("--type");
    if (!folder || folder->isEmpty() || !typeName || typeName->isEmpty()) {
        Terminal::say(QStringLiteral("split needs --to FOLDER and --type NAME"));
        return false;
    }
    request.folder = ArgumentValues::path(*folder);
    request.addPrefix = arguments.has("--prefix");
    QString problem;
    const AudioFileType* type = SaveArguments::type(ArgumentValues::text(*typeName), {}, &problem);
    if (!type) {
        Terminal::say(problem);
        return false;
    }
    request.uti = type->uti;
    const std::optional<QByteArray> option = arguments.value("--option");
    if (!option)
        return true;
    const std::optional<int> tag = SaveArguments::optionTag(ArgumentValues::text(*option));
    problem = tag ? SaveArguments::optionProblem(request.uti, *tag)
                  : QStringLiteral("it is neither a number nor a four-character code");
    request.optionTag = tag.value_or(0);
    if (!problem.isEmpty())
        Terminal::say(QStringLiteral("--option “%1”: %2").arg(ArgumentValues::text(*option), problem));
    return problem.isEmpty();
}

ExitStatus split(const Arguments& arguments)
{
    MarkerSplitter::Request request;
    if (!readRequest(arguments, request))
        return ExitStatus::wrongArguments;
    const std::shared_ptr<SoundDocument> document =
        DocumentFiles::open(ArgumentValues::path(arguments.words()[0]));
    if (!document)
        return ExitStatus::failed;
    if (request.optionTag != 0) {
        const QString problem = SaveArguments::optionProblem(request.uti, request.optionTag, *document);
        if (!problem.isEmpty()) {
            Terminal::say(QStringLiteral("--option: ") + problem);
            return ExitStatus::wrongArguments;
        }
    }
    request.metadata = MarkerSplitter::metadataForPieces(*document);
    QStringList losses;
    // Those of all pieces, before the first one.
    request.willReplace = [&losses, &document] {
        Terminal::sayAll(std::exchange(losses, {}), document->filePath());
    };
    TerminalProgress progress(displayName(document->filePath()));
    MarkerSplitter splitter(*document, request);
    if (const MaybeError error = splitter.refusal()) {
        Terminal::sayError(*error, document->filePath());
        return ExitStatus::failed;
    }
    losses = splitter.losses();
    const MarkerSplitter::Outcome outcome = splitter.run(progress);
    QByteArray list;
    for (const std::filesystem::path& path : outcome.paths)
        list += QByteArray::fromStdString(path.native()) + '\n';
    MaybeError error = outcome.error;
    if (!list.isEmpty())
        if (const MaybeError failure = OutputSink::forStandardOutput()->write(list); failure && !error)
            error = failure;
    if (error)
        Terminal::sayError(*error, document->filePath());
    return error ? ExitStatus::failed : ExitStatus::done;
}

} // namespace

Subcommand splitSubcommand()
{
    Subcommand subcommand;
    subcommand.name = "split";
    subcommand.synopsis = QStringLiteral("IN --to FOLDER --type NAME [--option TAG] [--prefix]");
    subcommand.summary = QStringLiteral("Cuts a sound at its markers into files.");
    subcommand.description = {QStringLiteral(
        "Each file is named and titled after the marker that it begins with, numbered as a track, and has "
        "artist, album artist, album, grouping and composer of IN. No file is replaced: a name that is taken "
        "gets a number behind it. The files' paths are printed, one a line.")};
    subcommand.options = {
        {"--to", QStringLiteral("FOLDER"), QStringLiteral("Folder for the files; it must exist.")},
        {"--type", QStringLiteral("NAME"), QStringLiteral("Their file type, as “WAVE”.")},
        {"--option", QStringLiteral("TAG"),
         QStringLiteral(
             "Sample size in bits or bit rate from the type's list, as a number or a four-character code.")},
        {"--prefix", {}, QStringLiteral("Puts the track number before each name.")}};
    subcommand.minWords = 1;
    subcommand.maxWords = 1;
    subcommand.run = split;
    return subcommand;
}

} // namespace velloria
