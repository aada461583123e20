#include "cli/subcommands/DocumentFiles.h"
#include "cli/subcommands/WaveformColumns.h"
#include "cli/subcommands/WaveformImage.h"
#include "cli/terminal/OutputSink.h"
#include "cli/terminal/Terminal.h"
#include "document/clips/SourceWatch.h"

#include <QBuffer>

namespace velloria
{

namespace
{

constexpr int kMaxSide = 16384;

enum class Format { json, png, unknown };

Format formatOf(const std::filesystem::path& path)
{
    if (path.empty())
        return Format::json;
    const std::string extension = path.extension().native();
    const auto is = [&extension](const char* wanted) { return qstricmp(extension.c_str(), wanted) == 0; };
    return is(".png") ? Format::png : is(".json") ? Format::json : Format::unknown;
}

QByteArray pngOf(const WaveformColumns& columns, int width, int height)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    return WaveformImage::draw(columns, width, height).save(&buffer, "PNG") ? bytes : QByteArray();
}

struct Picture {
    std::filesystem::path output;
    Format format = Format::json;
    int width = 1600;
    int height = 400;
    ArgumentValues::TimeRange range;

    bool read(const Arguments& arguments)
    {
        output = ArgumentValues::path(arguments.value("-o").value_or(QByteArray()));
        format = arguments.has("-o") && output.empty() ? Format::unknown : formatOf(output);
        if (format == Format::unknown) {
            Terminal::say(
                QStringLiteral("-o “%1” ends neither in .png nor in .json").arg(displayPath(output)));
            return false;
        }
        return ArgumentValues::readInteger(arguments, "--width", 1, kMaxSide, width) &&
               ArgumentValues::readInteger(arguments, "--height", 1, kMaxSide, height) &&
               ArgumentValues::readTimeRange(arguments, range);
    }
};

MaybeError writePicture(const SoundDocument& document, const SoundSelection& selection,
                        const Picture& picture)
{
    WaveformColumns columns;
    {
        TerminalProgress progress(displayName(document.filePath()));
        const SourceWatch watch(*document.audioTracks());
        columns = WaveformColumns::ofDocument(document, selection, picture.width, progress);
        if (progress.isCancelled())
            return Error::cancelled();
        if (MaybeError error = watch.error())
            return error;
    }
    const QByteArray bytes =
        picture.format == Format::json ? columns.json() : pngOf(columns, picture.width, picture.height);
    if (bytes.isEmpty())
        return Error{Error::Code::failed, QStringLiteral("There is not enough memory for such a picture.")};
    MaybeError error;
    const std::unique_ptr<OutputSink> output = picture.output.empty()
                                                   ? OutputSink::forStandardOutput()
                                                   : OutputSink::forFile(picture.output, &error);
    if (!output || (error = output->write(bytes)))
        return error;
    return output->finish();
}

ExitStatus waveform(const Arguments& arguments)
{
    Picture picture;
    if (!picture.read(arguments))
        return ExitStatus::wrongArguments;
    const std::shared_ptr<SoundDocument> document =
        DocumentFiles::open(ArgumentValues::path(arguments.words().front()));
    if (!document)
        return ExitStatus::failed;
    const std::optional<SoundSelection> selection = DocumentFiles::selection(*document, picture.range);
    if (!selection)
        return ExitStatus::failed;
    const MaybeError error = writePicture(*document, *selection, picture);
    if (error)
        Terminal::sayError(*error, picture.output);
    return error ? ExitStatus::failed : ExitStatus::done;
}

} // namespace

Subcommand waveformSubcommand()
{
    Subcommand subcommand;
    subcommand.name = "waveform";
    subcommand.synopsis =
        QStringLiteral("FILE [-o OUT.png|OUT.json] [--width N] [--height N] [--start S] [--end S]");
    subcommand.summary = QStringLiteral("Draws the waveform, or tells it in numbers.");
    subcommand.description = {
        QStringLiteral(
            "The extension of OUT tells the format: a PNG picture with one lane a channel, or JSON. Without "
            "-o, JSON goes to standard output."),
        QStringLiteral(
            "The JSON object has the keys sampleRate, frames and channels (of the whole file), start and end "
            "(seconds, of the range shown) and columns: for each channel a list of [min, max] pairs from -1 "
            "to 1. There are --width columns of equal length, or one a frame when the range has fewer "
            "frames. Columns of 512 frames and more are told in steps of 512 frames.")};
    subcommand.options = {
        {"-o", QStringLiteral("OUT"), QStringLiteral("File to write, ending in .png or .json.")},
        {"--width", QStringLiteral("N"),
         QStringLiteral("Columns, which are the picture's pixels; 1600 when left out.")},
        {"--height", QStringLiteral("N"),
         QStringLiteral("Height of the picture in pixels; 400 when left out.")}};
    for (const OptionDescription& option : ArgumentValues::timeRangeOptions())
        subcommand.options.push_back(option);
    subcommand.minWords = 1;
    subcommand.maxWords = 1;
    subcommand.run = waveform;
    return subcommand;
}

} // namespace velloria
