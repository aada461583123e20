#include "formats/saving/SaveLoop.h"

#include "formats/saving/SampleFile.h"
#include "platform/DispatchQueue.h"

#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

constexpr int64_t framesPerPass = 32768;
// Enough passes to keep the cores busy between two looks at the progress, few enough to hear a
// cancellation within some milliseconds.
constexpr int64_t passesPerBatch = 16;
// What the disk is given to write at a time.
constexpr int64_t bytesPerSync = int64_t{8} << 20;
// What one write holds at most; a pass of many channels takes several.
constexpr int64_t largestBlock = int64_t{1} << 19;

} // namespace

SaveRange SaveRange::ofDocument(const FrameSource& document, uint32_t numChannels)
{
    return {0, document.numberOfFrames(), 0, static_cast<int32_t>(numChannels)};
}

SaveRange SaveRange::ofSelection(const FrameSource& document, const SoundSelection& selection)
{
    const double rate = document.sampleRate();
    const int64_t numDocumentFrames = document.numberOfFrames();
    const int64_t start = frameAtTime(selection.startTime, rate);
    const int64_t length = std::max<int64_t>(0, frameAtTime(selection.duration(), rate));
    const int64_t first = std::clamp<int64_t>(start, 0, numDocumentFrames);
    const int64_t end = std::min(start + length, numDocumentFrames);

    SaveRange range;
    range.startFrame = first;
    range.numFrames = std::max<int64_t>(0, end - first);
    range.firstTrack = std::clamp(selection.firstTrack, 0, document.trackCount());
    range.numTracks = std::clamp(selection.numTracks, 0, document.trackCount() - range.firstTrack);
    return range;
}

SaveLoop::SaveLoop(SampleFile& file, const FrameSource& document, const SaveRange& range)
    : mFile(file)
    , mRange(range)
    , mTracks(document.audioTracks())
{
}

SaveLoop::Pass SaveLoop::passAt(int64_t index) const
{
    const int64_t firstFrame = index * framesPerPass;
    return {firstFrame, std::min(framesPerPass, mRange.numFrames - firstFrame)};
}

MaybeError SaveLoop::run(Progress& progress)
{
    const int64_t numPasses = (mRange.numFrames + framesPerPass - 1) / framesPerPass;
    const int64_t batchSize = mFile.needsFramesInOrder() ? 1 : passesPerBatch;
    std::array<MaybeError, passesPerBatch> errors;
    for (int64_t first = 0; first < numPasses; first += batchSize) {
        const auto count = static_cast<int>(std::min(batchSize, numPasses - first));
        runConcurrently(count, [&](int i) {
            std::unique_ptr<SaveBlockBuilder> builder = takeBuilder();
            builder->setDitherSeed(static_cast<uint64_t>(first + i));
            errors[static_cast<size_t>(i)] = writePass(passAt(first + i), *builder);
            giveBack(std::move(builder));
        });
        startSync(std::min((first + count) * framesPerPass, mRange.numFrames));
        for (int i = 0; i < count; ++i) {
            if (errors[static_cast<size_t>(i)])
                return errors[static_cast<size_t>(i)];
            progress.setMarkValue(progress.markValue() + passAt(first + i).numFrames);
            if (progress.isCancelled())
                return Error::cancelled();
        }
    }
    return std::nullopt;
}

/// Saving ends with the file on the disk, so the disk starts while the next passes are worked on.
void SaveLoop::startSync(int64_t numFramesWritten)
{
    const int64_t frameSize = mFile.frameSize();
    const int64_t numBytes = (numFramesWritten - mNumFramesSyncing) * frameSize;
    if (numBytes < bytesPerSync || mFile.needsFramesInOrder())
        return;
    mFile.fileHandle()->startSync(mFile.soundDataOffset() + mNumFramesSyncing * frameSize, numBytes);
    mNumFramesSyncing = numFramesWritten;
}

std::unique_ptr<SaveBlockBuilder> SaveLoop::takeBuilder()
{
    const std::lock_guard lock(mBuilderMutex);
    if (mIdleBuilders.empty()) {
        return std::make_unique<SaveBlockBuilder>(mTracks, mRange.firstTrack, mRange.numTracks,
                                                  mFile.sampleSizeInBytes());
    }
    std::unique_ptr<SaveBlockBuilder> builder = std::move(mIdleBuilders.back());
    mIdleBuilders.pop_back();
    return builder;
}

void SaveLoop::giveBack(std::unique_ptr<SaveBlockBuilder> builder)
{
    const std::lock_guard lock(mBuilderMutex);
    mIdleBuilders.push_back(std::move(builder));
}

MaybeError SaveLoop::writePass(const Pass& pass, SaveBlockBuilder& builder)
{
    if (!mFile.storesIntegers())
        return writeFloats(pass, builder);
    if (const auto common = builder.commonSource(mRange.startFrame + pass.firstFrame, pass.numFrames)) {
        const auto* const source = dynamic_cast<const SampleFile*>(common->source);
        if (source && mFile.storesSamplesLike(*source))
            return copyPass(pass, *source, common->frame);
    }
    return writeIntegers(pass, builder);
}

MaybeError SaveLoop::copyPass(const Pass& pass, const SampleFile& source, int64_t sourceFrame)
{
    const int64_t frameSize = mFile.frameSize();
    const int64_t numBytes =
        std::clamp<int64_t>(source.numberOfFrames() - sourceFrame, 0, pass.numFrames) * frameSize;
    MaybeError error;
    const int64_t numCopied =
        mFile.fileHandle()->copyFrom(*source.fileHandle(), source.soundDataOffset() + sourceFrame * frameSize,
                                     mFile.soundDataOffset() + pass.firstFrame * frameSize, numBytes, &error);
    if (error)
        return error;
    const int64_t numFrames = numCopied / frameSize;
    if (numFrames == pass.numFrames)
        return std::nullopt;
    source.fileHandle()->noteMissedRead();
    return writeSilence(pass.firstFrame + numFrames, pass.numFrames - numFrames);
}

MaybeError SaveLoop::writeSilence(int64_t firstFrame, int64_t numFrames)
{
    const int64_t frameSize = mFile.frameSize();
    const int64_t sliceFrames = std::max<int64_t>(1, largestBlock / frameSize);
    std::vector<std::byte> silence;
    for (int64_t done = 0; done < numFrames; done += sliceFrames) {
        // Assigned anew each time: the writer may turn the samples around in place.
        silence.assign(static_cast<size_t>(std::min(sliceFrames, numFrames - done) * frameSize),
                       std::byte{0});
        if (auto error =
                mFile.writeAudioData(silence, mFile.soundDataOffset() + (firstFrame + done) * frameSize))
            return error;
    }
    return std::nullopt;
}

MaybeError SaveLoop::writeIntegers(const Pass& pass, SaveBlockBuilder& builder)
{
    const int64_t frameSize = mFile.frameSize();
    const int64_t sliceFrames = std::max<int64_t>(1, largestBlock / frameSize);
    for (int64_t done = 0; done < pass.numFrames; done += sliceFrames) {
        const int64_t count = std::min(sliceFrames, pass.numFrames - done);
        const int64_t frame = pass.firstFrame + done;
        const std::span<std::byte> block = builder.blockOf(count);
        builder.buildIntegers(mRange.startFrame + frame, count, block);
        if (auto error = mFile.writeAudioData(block, mFile.soundDataOffset() + frame * frameSize))
            return error;
    }
    return std::nullopt;
}

MaybeError SaveLoop::writeFloats(const Pass& pass, SaveBlockBuilder& builder)
{
    const int64_t sliceFrames = std::max<int64_t>(1, largestBlock / (int64_t{4} * mRange.numTracks));
    for (int64_t done = 0; done < pass.numFrames; done += sliceFrames) {
        const int64_t count = std::min(sliceFrames, pass.numFrames - done);
        const int64_t frame = pass.firstFrame + done;
        if (auto error = mFile.writeFloatData(builder.buildFloats(mRange.startFrame + frame, count), frame))
            return error;
    }
    return std::nullopt;
}

} // namespace velloria
