#pragma once

#include "document/clips/AudioTrack.h"

namespace velloria
{

/// Reads the same range of several tracks, as AudioTrack::readSamples does each. While the tracks are runs of
/// the channels of one file, as they are until they are edited apart, the file is read once for all of them.
namespace TrackReader
{

/// outs[i] receives `numFrames` frames of tracks[i].
void readSamples(std::span<const AudioTrackPtr> tracks, int64_t offset, std::span<float* const> outs,
                 size_t numFrames);

} // namespace TrackReader

} // namespace velloria
