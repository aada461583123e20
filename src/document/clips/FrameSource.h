#pragma once

#include "document/clips/AudioTrack.h"

namespace velloria
{

/// What the save loop and the pull sources need of a document: its tracks and their rate.
class FrameSource
{
public:
    virtual ~FrameSource() = default;

    virtual int64_t numberOfFrames() const = 0;
    virtual double sampleRate() const = 0;
    /// Never null.
    virtual TrackList audioTracks() const = 0;

    double totalTime() const { return static_cast<double>(numberOfFrames()) / sampleRate(); }
    int32_t trackCount() const { return static_cast<int32_t>(audioTracks()->size()); }

    /// A track's floats, or nothing when there is no such track. Silence before 0 and beyond the end.
    FloatBuffer sampleDataAtOffset(int64_t offset, int64_t numFrames, int32_t track) const;

    /// The tracks' floats interleaved frame by frame; nothing, logged "Invalid number of tracks", when
    /// there are not so many.
    FloatBuffer interleavedDataAtOffset(int64_t offset, int64_t numFrames, int32_t firstTrack,
                                        int32_t numTracks) const;

    /// All tracks with pan and volume applied, summed; interleaved left and right.
    FloatBuffer stereoDataAtOffset(int64_t offset, int64_t numFrames) const;
};

} // namespace velloria
