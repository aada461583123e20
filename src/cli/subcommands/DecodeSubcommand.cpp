#include "cli/subcommands/DocumentFiles.h"
#include "cli/terminal/OutputSink.h"
#include "cli/terminal/Terminal.h"
#include "document/clips/SampleKernels.h"
#include "document/clips/SourceWatch.h"

#include <algorithm>

namespace velloria
{

namespace
{

// Of one block, all channels together: it stays in the second-level cache on its way.
constexpr size_t kBlockNumSamples = 32768;

/// Reads the tracks block by block as interleaved frames.
class FrameReader
{
public:
    explicit FrameReader(const SoundDocument& document)
        : mTracks(document.audioTracks())
        , mNumFrames(document.numberOfFrames())
        , mBlockNumFrames(std::max<size_t>(1, kBlockNumSamples / std::max<size_t>(1, mTracks->size())))
        , mInterleaved(mBlockNumFrames * mTracks->size())
    {
        for (size_t i = 0; i < mTracks->size(); ++i) {
            mChannels.emplace_back(mBlockNumFrames);
            mPointers.push_back(mChannels.back().data());
        }
    }

    /// Empty at the end.
    std::span<const float> nextBlock()
    {
        const auto count =
            static_cast<size_t>(std::min(mNumFrames - mNumDone, static_cast<int64_t>(mBlockNumFrames)));
        for (size_t i = 0; i < mChannels.size(); ++i)
            (*mTracks)[i]->readSamples(mNumDone, std::span(mChannels[i]).first(count));
        mNumDone += static_cast<int64_t>(count);
        if (mChannels.size() == 1)
            return std::span(mChannels.front()).first(count);
        SampleKernels::interleave(mPointers, mInterleaved.data(), count);
        return std::span(mInterleaved).first(count * mChannels.size());
    }

    double progress() const { return static_cast<double>(mNumDone) / static_cast<double>(mNumFrames); }

private:
    TrackList mTracks;
    int64_t mNumFrames;
    int64_t mNumDone = 0;
    size_t mBlockNumFrames;
    std::vector<FloatBuffer> mChannels;
    std::vector<const float*> mPointers;
    FloatBuffer mInterleaved;
};

MaybeError writeFrames(const SoundDocument& document, OutputSink& output, Progress& progress)
{
    const SourceWatch watch(*document.audioTracks());
    FrameReader reader(document);
    for (auto block = reader.nextBlock(); !block.empty(); block = reader.nextBlock()) {
        if (MaybeError error = output.write(std::as_bytes(block)))
            return error;
        progress.setProgressValue(reader.progress());
        if (progress.isCancelled())
            return Error::cancelled();
    }
    if (MaybeError error = watch.error())
        return error;
    return output.finish();
}

ExitStatus decode(const Arguments& arguments)
{
    const std::shared_ptr<SoundDocument> document =
        DocumentFiles::open(ArgumentValues::path(arguments.words().front()));
    if (!document)
        return ExitStatus::failed;
    MaybeError error;
    const std::filesystem::path path = ArgumentValues::path(arguments.value("-o").value_or(QByteArray()));
    const std::unique_ptr<OutputSink> output =
        arguments.has("-o") ? OutputSink::forFile(path, &error) : OutputSink::forStandardOutput();
    if (output) {
        TerminalProgress progress(displayName(document->filePath()));
        error = writeFrames(*document, *output, progress);
    }
    if (!error)
        return ExitStatus::done;
    Terminal::sayError(*error, path);
    return ExitStatus::failed;
}

} // namespace

Subcommand decodeSubcommand()
{
    Subcommand subcommand;
    subcommand.name = "decode";
    subcommand.synopsis = QStringLiteral("FILE [-o OUT]");
    subcommand.summary = QStringLiteral("Writes the samples as interleaved 32-bit floats.");
    subcommand.description = {QStringLiteral(
        "The samples of all channels, frame by frame, as 32-bit floating-point numbers from -1 to 1 in "
        "this machine's byte order, without any header.")};
    subcommand.options = {
        {"-o", QStringLiteral("OUT"), QStringLiteral("File to write, instead of standard output.")}};
    subcommand.minWords = 1;
    subcommand.maxWords = 1;
    subcommand.run = decode;
    return subcommand;
}

} // namespace velloria
