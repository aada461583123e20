#pragma once

#include "document/clips/MutableAudioClip.h"
#include "platform/DispatchQueue.h"

#include <array>
#include <atomic>
#include <memory>
#include <span>
#include <vector>

namespace velloria
{

/// Collects blocks of samples in one new clip a track. Blocks are gathered into batches; a worker appends a
/// full batch to the clips (file and summary) while the caller computes the next one, so that both cores have
/// work. Two batches are reused. All functions are called on one thread; the destructor waits for the worker.
class ClipWriter
{
public:
    /// Frames of a batch: large enough that handing over costs nothing, small enough for the cache.
    static constexpr size_t mostBatchFrames = 65536;

    /// One buffer a track.
    using Block = std::vector<FloatBuffer>;

    ClipWriter(int32_t numTracks, double sampleRate);
    ~ClipWriter();
    ClipWriter(const ClipWriter&) = delete;
    ClipWriter& operator=(const ClipWriter&) = delete;

    /// What is appended is computed from other sound, not taken from a file: a sample that is infinite or no
    /// number is an error then, and the clips keep what is to be said of them (ComputedSound::samplesFrom()).
    /// Before the first append.
    void setComputed(const StoredSamples& samples);

    /// Adds buffer t of the block to clip t. An error (a full disk) may be that of an earlier block; after
    /// one nothing more is written.
    MaybeError append(const Block& block);

    /// The same for numFrames samples at each of the pointers, one a track.
    MaybeError append(std::span<const float* const> channels, size_t numFrames);

    /// Writes what is gathered and completes the clips, which may then be read.
    MaybeError finish();

    const std::vector<std::shared_ptr<MutableAudioClip>>& clips() const { return mClips; }

private:
    MaybeError completeWriting();
    MaybeError handOverWhenFull();
    MaybeError handOver();
    void writeRemainingTracks();

    std::vector<std::shared_ptr<MutableAudioClip>> mClips;
    std::array<Block, 2> mBatches;
    size_t mFilling = 0;
    bool mIsComputed = false;
    /// Fewer than the most where there are so many tracks that the batches would be large.
    const size_t mBatchNumFrames;
    /// The batch being written; its tracks from mNextTrack on are nobody's yet.
    const Block* mWriting = nullptr;
    std::atomic<size_t> mNextTrack = 0;
    /// Of each track, set by whoever writes it.
    std::vector<MaybeError> mErrors;
    std::shared_ptr<DispatchGroup> mGroup = std::make_shared<DispatchGroup>();
    DispatchQueue mQueue;
};

} // namespace velloria
