#include "document/clips/ClipWriter.h"

#include "document/clips/ComputedSound.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr size_t kMostBatchSamples = 8 * ClipWriter::mostBatchFrames;

size_t batchFramesOf(int32_t numTracks)
{
    return std::min(ClipWriter::mostBatchFrames,
                    kMostBatchSamples / static_cast<size_t>(std::max(1, numTracks)) + 1);
}

} // namespace

ClipWriter::ClipWriter(int32_t numTracks, double sampleRate)
    : mBatchNumFrames(batchFramesOf(numTracks))
    , mQueue(QStringLiteral("ClipWriter"))
{
    const auto label = ScratchLabelScope::labelForNewSound(numTracks);
    for (int32_t track = 0; track < numTracks; ++track) {
        mClips.push_back(MutableAudioClip::clipWithSampleRate(sampleRate));
        mClips.back()->setLabel(label, track);
    }
    mErrors.resize(mClips.size());
    mNextTrack = mClips.size();
    for (Block& batch : mBatches) {
        batch.resize(mClips.size());
        for (FloatBuffer& buffer : batch)
            buffer.reserve(mBatchNumFrames);
    }
}

ClipWriter::~ClipWriter()
{
    mGroup->wait();
}

void ClipWriter::setComputed(const StoredSamples& samples)
{
    mIsComputed = true;
    for (const auto& clip : mClips)
        clip->setStoredSamples(samples);
}

MaybeError ClipWriter::append(const Block& block)
{
    if (mIsComputed && !std::all_of(block.begin(), block.end(), ComputedSound::areFinite))
        return ComputedSound::notFinite();
    Block& batch = mBatches[mFilling];
    for (size_t track = 0; track < std::min(block.size(), batch.size()); ++track)
        batch[track].insert(batch[track].end(), block[track].begin(), block[track].end());
    return handOverWhenFull();
}

MaybeError ClipWriter::append(std::span<const float* const> channels, size_t numFrames)
{
    Block& batch = mBatches[mFilling];
    for (size_t track = 0; track < std::min(channels.size(), batch.size()); ++track)
        batch[track].insert(batch[track].end(), channels[track], channels[track] + numFrames);
    return handOverWhenFull();
}

MaybeError ClipWriter::handOverWhenFull()
{
    const Block& batch = mBatches[mFilling];
    const bool isFull = std::any_of(batch.begin(), batch.end(), [this](const FloatBuffer& samples) {
        return samples.size() >= mBatchNumFrames;
    });
    return isFull ? handOver() : std::nullopt;
}

MaybeError ClipWriter::finish()
{
    if (MaybeError error = handOver())
        return error;
    MaybeError error = completeWriting();
    if (!error)
        for (const auto& clip : mClips)
            clip->finalizeCache();
    return error;
}

/// Gives the first error of what was handed over so far.
MaybeError ClipWriter::completeWriting()
{
    writeRemainingTracks();
    mGroup->wait();
    const auto isError = [](const MaybeError& error) { return error.has_value(); };
    const auto found = std::find_if(mErrors.begin(), mErrors.end(), isError);
    return found == mErrors.end() ? std::nullopt : *found;
}

MaybeError ClipWriter::handOver()
{
    if (MaybeError error = completeWriting())
        return error;
    mWriting = &mBatches[mFilling];
    // Relaxed like all uses: the counter only shares out the tracks, the queue and the group order the data.
    mNextTrack.store(0, std::memory_order_relaxed);
    mQueue.async(mGroup, [this] { writeRemainingTracks(); });
    mFilling = 1 - mFilling;
    for (FloatBuffer& buffer : mBatches[mFilling])
        buffer.clear();
    return std::nullopt;
}

void ClipWriter::writeRemainingTracks()
{
    for (;;) {
        const size_t track = mNextTrack.fetch_add(1, std::memory_order_relaxed);
        if (track >= mClips.size())
            return;
        const FloatBuffer& samples = (*mWriting)[track];
        if (!samples.empty())
            mErrors[track] = mClips[track]->appendData(samples);
    }
}

} // namespace velloria
