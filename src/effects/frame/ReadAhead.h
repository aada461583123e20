#pragma once

#include "Classes/CoreAudio/DocumentSource.h"

namespace velloria
{

/// Serves the blocks that an effect asks of its source out of larger reads, which cost the file system and
/// the conversion of samples far less a frame. To the effect it is as if each block were read by itself:
/// lengths, samples and the source's mark are the same. For a source that does not loop, on one thread.
class ReadAhead
{
public:
    /// Frames of one read. A block's 64 kB of frames still fit a core's cache when they are handed out.
    static constexpr uint64_t numFramesAtOnce = 65536;

    bool requestData(DocumentSource& source, uint64_t numFrames, SampleBlock& block);

private:
    bool holds(int64_t mark, uint64_t numFrames) const;
    bool fill(DocumentSource& source, uint64_t numFrames);

    SampleBlock mData;
    int64_t mStart = 0;
    int64_t mNumFrames = 0;
    bool mReachesEnd = false; ///< the source has nothing after the data
};

} // namespace velloria
