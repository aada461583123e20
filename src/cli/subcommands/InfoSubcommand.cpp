#include "cli/subcommands/DocumentFiles.h"
#include "cli/subcommands/FileDescription.h"
#include "cli/terminal/OutputSink.h"
#include "cli/terminal/Terminal.h"

namespace velloria
{

namespace
{

ExitStatus info(const Arguments& arguments)
{
    const bool isJson = arguments.has("--json");
    const std::unique_ptr<OutputSink> output = OutputSink::forStandardOutput();
    ExitStatus status = ExitStatus::done;
    for (const QByteArray& word : arguments.words()) {
        const std::shared_ptr<SoundDocument> document = DocumentFiles::open(ArgumentValues::path(word));
        if (Terminal::isInterrupted())
            return ExitStatus::failed;
        if (!document) {
            status = ExitStatus::failed;
            continue;
        }
        const QByteArray description =
            isJson ? FileDescription::json(*document) : FileDescription::text(*document).toUtf8();
        if (const MaybeError error = output->write(description)) {
            Terminal::sayError(*error);
            return ExitStatus::failed;
        }
    }
    return status;
}

} // namespace

Subcommand infoSubcommand()
{
    Subcommand subcommand;
    subcommand.name = "info";
    subcommand.synopsis = QStringLiteral("FILE... [--json]");
    subcommand.summary = QStringLiteral("Tells what sound files hold.");
    subcommand.description = {
        QStringLiteral(
            "Prints type, encoding, channels, rate, length, markers, tags and pictures of each file. After "
            "a file that cannot be read it goes on with the next, and ends with status 1."),
        QStringLiteral(
            "With --json each file is one object on one line, with the keys path, uti, type, dataFormat, "
            "channels, sampleRate, bitsPerSample, frames, bitRate, isFloat, inPlace (samples are read "
            "without decoding), markers (list of ident, position, name), metadata (object of texts) and "
            "pictures (list of format, type, description, bytes). Bytes of a path that are not UTF-8 show "
            "as U+FFFD; the key pathBytes then has the path in base64.")};
    subcommand.options = {{"--json", {}, QStringLiteral("One JSON object a line.")}};
    subcommand.minWords = 1;
    subcommand.maxWords = -1;
    subcommand.run = info;
    return subcommand;
}

} // namespace velloria
