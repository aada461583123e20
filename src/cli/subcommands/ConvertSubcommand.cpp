#include "cli/subcommands/DocumentFiles.h"
#include "cli/subcommands/TargetArguments.h"
#include "cli/terminal/Terminal.h"

namespace velloria
{

namespace
{

struct TrackRange {
    int first = 0;
    int count = 0;
};

bool readTracks(const Arguments& arguments, std::optional<TrackRange>& tracks)
{
    const std::optional<QByteArray> value = arguments.value("--tracks");
    if (!value)
        return true;
    const qsizetype colon = value->indexOf(':');
    bool isFirst = false;
    bool isCount = false;
    TrackRange range;
    if (colon >= 0) {
        range.first = value->first(colon).toInt(&isFirst);
        range.count = value->sliced(colon + 1).toInt(&isCount);
    }
    if (!isFirst || !isCount || range.first < 0 || range.count < 1) {
        Terminal::say(
            QStringLiteral("--tracks “%1” is not FIRST:COUNT, as in 0:2").arg(ArgumentValues::text(*value)));
        return false;
    }
    tracks = range;
    return true;
}

/// What the words say, checked as far as that is possible without the document.
struct Conversion {
    std::filesystem::path input;
    SaveRequest request;
    SaveArguments::TargetType type;
    ArgumentValues::TimeRange range;
    std::optional<TrackRange> tracks;

    bool read(const Arguments& arguments)
    {
        input = ArgumentValues::path(arguments.words()[0]);
        return ArgumentValues::readTimeRange(arguments, range) && readTracks(arguments, tracks) &&
               TargetArguments::read(arguments, arguments.words()[1], input, request, type);
    }
};

bool selectTracks(const SoundDocument& document, const TrackRange& tracks, SoundSelection& selection)
{
    if (tracks.first >= document.trackCount() || tracks.count > document.trackCount() - tracks.first) {
        Terminal::say(QStringLiteral("%1: there are no tracks %2:%3; the file has %4 (counted from 0)")
                          .arg(displayPath(document.filePath()), QString::number(tracks.first),
                               QString::number(tracks.count), QString::number(document.trackCount())));
        return false;
    }
    selection.firstTrack = tracks.first;
    selection.numTracks = tracks.count;
    return true;
}

ExitStatus convert(const Arguments& arguments)
{
    Conversion conversion;
    if (!conversion.read(arguments))
        return ExitStatus::wrongArguments;
    const std::shared_ptr<SoundDocument> document = DocumentFiles::open(conversion.input);
    if (!document)
        return ExitStatus::failed;
    SaveRequest& request = conversion.request;
    if (!TargetArguments::complete(conversion.type, *document, request))
        return ExitStatus::wrongArguments;
    if (conversion.range.start || conversion.range.end || conversion.tracks) {
        request.selection = DocumentFiles::selection(*document, conversion.range);
        if (!request.selection ||
            (conversion.tracks && !selectTracks(*document, *conversion.tracks, *request.selection)))
            return ExitStatus::failed;
    }
    return DocumentFiles::save(*document, request) ? ExitStatus::done : ExitStatus::failed;
}

} // namespace

Subcommand convertSubcommand()
{
    Subcommand subcommand;
    subcommand.name = "convert";
    subcommand.synopsis = QStringLiteral("IN OUT [--type NAME] [--option TAG] [--start S] [--end S] "
                                         "[--tracks FIRST:COUNT]");
    subcommand.summary = QStringLiteral("Writes a sound, or a part of it, as a file of another type.");
    subcommand.description = {QStringLiteral(
        "Samples that need not change are carried over bit for bit. What the new file cannot hold (tags, "
        "markers, precision) is said on standard error, one line each. A part of a sound is written "
        "without markers. IN and OUT may be the same file; OUT is replaced in one step once all is "
        "written.")};
    subcommand.options = TargetArguments::options();
    for (const OptionDescription& option : ArgumentValues::timeRangeOptions())
        subcommand.options.push_back(option);
    subcommand.options.push_back(
        {"--tracks", QStringLiteral("FIRST:COUNT"),
         QStringLiteral("Only these tracks (channels), counted from 0: 0:1 is the left channel.")});
    subcommand.minWords = 2;
    subcommand.maxWords = 2;
    subcommand.run = convert;
    return subcommand;
}

} // namespace velloria
