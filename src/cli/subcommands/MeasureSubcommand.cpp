#include "cli/subcommands/DocumentFiles.h"
#include "cli/subcommands/MeasurementText.h"
#include "cli/terminal/OutputSink.h"
#include "cli/terminal/Terminal.h"

namespace velloria
{

namespace
{

/// Nothing when it failed, which was said.
std::optional<SoundStatistics> statisticsOf(const SoundDocument& document,
                                            const ArgumentValues::TimeRange& range)
{
    const std::optional<SoundSelection> selection = DocumentFiles::selection(document, range);
    if (!selection)
        return std::nullopt;
    const double rate = document.sampleRate();
    const int64_t start = frameAtTime(selection->startTime, rate);
    const int64_t end = std::min(document.numberOfFrames(), frameAtTime(selection->endTime, rate));
    TerminalProgress progress(displayName(document.filePath()));
    MaybeError error;
    std::optional<SoundStatistics> statistics =
        SoundStatistics::ofTracks(*document.audioTracks(), rate, start, end - start, progress, &error);
    if (!statistics)
        Terminal::sayError(error.value_or(Error::cancelled()), document.filePath());
    return statistics;
}

ExitStatus measure(const Arguments& arguments)
{
    ArgumentValues::TimeRange range;
    if (!ArgumentValues::readTimeRange(arguments, range))
        return ExitStatus::wrongArguments;
    const bool isJson = arguments.has("--json");
    const std::unique_ptr<OutputSink> output = OutputSink::forStandardOutput();
    ExitStatus status = ExitStatus::done;
    for (const QByteArray& word : arguments.words()) {
        const std::filesystem::path path = ArgumentValues::path(word);
        const std::shared_ptr<SoundDocument> document = DocumentFiles::open(path);
        if (Terminal::isInterrupted())
            return ExitStatus::failed;
        const std::optional<SoundStatistics> statistics =
            document ? statisticsOf(*document, range) : std::nullopt;
        if (Terminal::isInterrupted())
            return ExitStatus::failed;
        if (!statistics) {
            status = ExitStatus::failed;
            continue;
        }
        if (const MaybeError error =
                output->write(isJson ? MeasurementText::json(*statistics, path)
                                     : MeasurementText::table(*statistics, path).toUtf8())) {
            Terminal::sayError(*error);
            return ExitStatus::failed;
        }
    }
    return status;
}

} // namespace

Subcommand measureSubcommand()
{
    Subcommand subcommand;
    subcommand.name = "measure";
    subcommand.synopsis = QStringLiteral("FILE... [--json] [--start S] [--end S]");
    subcommand.summary = QStringLiteral("Measures loudness and levels.");
    subcommand.description = {
        QStringLiteral(
            "Prints the loudness by EBU R 128 (integrated, range, highest momentary and short-term), the "
            "true peak by ITU-R BS.1770, and peak, RMS level, DC offset and the number of clipped samples "
            "of each channel. A sample counts as clipped from 32767/32768 on. After a file that cannot be "
            "read it goes on with the next, and ends with status 1."),
        QStringLiteral(
            "With --json each file is one object on one line, with the keys path, sampleRate, frames, "
            "integratedLoudness, maxMomentaryLoudness and maxShortTermLoudness (LUFS), loudnessRange (LU), "
            "truePeak "
            "(dBTP), peak (dBFS), clippedSamples, and channels: a list of objects with the keys peak, "
            "truePeak, rms "
            "(dB), dcOffset (full scale is 1) and clippedSamples. What has no value, as the loudness of "
            "silence, is "
            "null.")};
    subcommand.options = {{"--json", {}, QStringLiteral("One JSON object a line.")}};
    for (const OptionDescription& option : ArgumentValues::timeRangeOptions())
        subcommand.options.push_back(option);
    subcommand.minWords = 1;
    subcommand.maxWords = -1;
    subcommand.run = measure;
    return subcommand;
}

} // namespace velloria
