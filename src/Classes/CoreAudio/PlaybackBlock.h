#pragma once

#include "Classes/CoreAudio/DataSource.h"

namespace velloria
{

/// What a player is given to play: interleaved stereo, empty at the end, and the document frame of its first
/// frame.
struct PlaybackBlock {
    FloatBuffer stereoAudioData;
    int64_t timestamp = 0;

    int64_t numFrames() const { return static_cast<int64_t>(stereoAudioData.size() / 2); }
};

class DocumentSource;

/// Reads the next frames of a source for playing, folded to stereo without pan or volume: a lone track goes
/// to both sides, of several the tracks with an even number to the left and the others to the right, summed.
/// `scratch` is reused. False, and the block empty, at the end.
bool readPlaybackBlock(DocumentSource& source, uint64_t numFrames, SampleBlock& scratch,
                       PlaybackBlock& block);

} // namespace velloria
