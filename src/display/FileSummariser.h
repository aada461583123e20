#pragma once

#include "display/summary/WaveformCache.h"
#include "document/clips/SampleSource.h"

#include <span>
#include <vector>

namespace velloria
{

/// Reads the frames of a file in order and adds them to one summary a channel. One thread.
class FileSummariser
{
public:
    /// `caches` has as many entries as the file has channels, and outlives this.
    FileSummariser(const SampleSource& file, std::span<WaveformCache> caches);

    int64_t numFramesDone() const { return mNumDone; }
    int64_t numFrames() const { return mNumFrames; }

    /// Adds the next block and gives its number of frames: 0 at the end, and where the file ends early.
    int64_t appendBlock();

private:
    int64_t readFrames(std::span<std::byte> out);
    int64_t appendInt16Frames();
    int64_t appendFloatFrames();
    void gather(std::span<const std::byte> frames, size_t numFrames);

    const SampleSource& mFile;
    const std::span<WaveformCache> mCaches;
    const int64_t mNumFrames;
    const int64_t mFrameSize;
    int64_t mNumDone = 0;
    size_t mFramesPerBlock;
    // Only what the file's sample format needs is filled.
    std::vector<WaveformCache*> mCachePointers;
    std::vector<int16_t> mIntegers;
    std::vector<std::byte> mBytes;
    std::vector<std::vector<float>> mChannels;
    std::vector<float*> mChannelPointers;
};

} // namespace velloria
