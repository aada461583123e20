#pragma once

#include "formats/saving/SaveLoop.h"
#include "platform/DispatchQueue.h"

#include <array>

namespace velloria
{

/// Hands a range of a document's sound to a lossless encoder: integers of one size, one buffer a track, block
/// by block in order. The next block is read while the encoder works on one. Used on one thread.
class IntegerFeed
{
public:
    /// `range` lies within the document and has a track. `bits` is the sample size, up to 32.
    IntegerFeed(TrackList tracks, const SaveRange& range, int64_t framesPerBlock, int bits);
    ~IntegerFeed();

    /// Goes to the first or the next block; false behind the last one.
    bool next();
    int64_t numFrames() const { return mBlocks[mCurrent].numFrames; }
    /// One pointer a track; valid until next(). The nearest integers, clipped to full scale; those of runs
    /// that a clip reads in place from integers of the same size are exact, also where a float would not hold
    /// them. Frames that a source no longer has are silence.
    std::span<const int32_t* const> channels() const { return mBlocks[mCurrent].channels; }

private:
    struct Block {
        int64_t numFrames = 0;
        std::vector<int32_t> integers;
        std::vector<const int32_t*> channels;
    };

    std::span<const AudioTrackPtr> tracks() const;
    void startFetching(Block& block);
    void fetch(Block& block, int64_t frame);
    void takeStoredIntegers(const AudioTrack& track, int64_t frame, std::span<int32_t> out) const;

    const TrackList mTracks;
    const SaveRange mRange;
    const int64_t mFramesPerBlock;
    const int mBits;
    int64_t mNumFramesFetched = 0;
    /// Belong to the job that fetches.
    std::vector<float> mFloats;
    std::vector<float*> mFloatChannels;
    std::array<Block, 2> mBlocks;
    size_t mCurrent = 0;
    std::shared_ptr<DispatchGroup> mGroup = std::make_shared<DispatchGroup>();
    DispatchQueue mQueue;
};

} // namespace velloria
