#include "formats/saving/FrameFeed.h"

#include "platform/DispatchQueue.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr int64_t bytesPerSample = sizeof(float);

SaveBlockBuilder builderOf(const FrameSource& document, const SaveRange& range)
{
    return SaveBlockBuilder(document.audioTracks(), range.firstTrack, range.numTracks, bytesPerSample);
}

} // namespace

FrameFeed::FrameFeed(const FrameSource& document, const SaveRange& range)
    : mRange(range)
    , mBuilders{builderOf(document, range), builderOf(document, range)}
{
}

MaybeError FrameFeed::run(const Taker& take, Progress& progress)
{
    const int64_t framesPerBlock =
        std::max<int64_t>(1, bytesPerBlock / (bytesPerSample * std::max(1, mRange.numTracks)));
    const auto group = std::make_shared<DispatchGroup>();
    MaybeError takeError;
    int64_t numFramesTaking = 0;
    // The queue's end waits for its job, so it goes before everything that the job refers to.
    DispatchQueue queue(QStringLiteral("org.velloria.Velloria.FrameFeed"));
    const auto completeTaking = [&]() -> MaybeError {
        group->wait();
        if (takeError)
            return takeError;
        progress.setMarkValue(progress.markValue() + numFramesTaking);
        return progress.isCancelled() ? std::optional(Error::cancelled()) : std::nullopt;
    };

    size_t filling = 0;
    for (int64_t done = 0; done < mRange.numFrames; filling = 1 - filling) {
        const int64_t count = std::min(framesPerBlock, mRange.numFrames - done);
        const std::span<const float> block = mBuilders[filling].buildFloats(mRange.startFrame + done, count);
        if (MaybeError error = completeTaking())
            return error;
        numFramesTaking = count;
        done += count;
        queue.async(group, [&takeError, &take, block] { takeError = take(block); });
    }
    return completeTaking();
}

} // namespace velloria
