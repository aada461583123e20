#pragma once

#include "document/clips/AudioTrack.h"
#include "platform/Error.h"
#include "platform/Progress.h"

#include <optional>
#include <vector>

namespace velloria
{

/// What the figures of a sound are. Levels are linear.
struct SoundStatistics {
    struct Track {
        double peak = 0;
        double truePeak = 0;
        double rms = 0;
        double dcOffset = 0;
        int64_t numClipped = 0; ///< samples of full scale and above
    };
    /// In LUFS, minus infinity where there was too little sound or only silence.
    struct Loudness {
        double integrated = 0;
        double range = 0; ///< in LU
        double highestMomentary = 0;
        double highestShortTerm = 0;
    };

    double sampleRate = 0;
    int64_t numFrames = 0;
    std::vector<Track> tracks;
    /// Nothing at rates below 8 kHz and with more than 64 tracks.
    std::optional<Loudness> loudness;

    double highestPeak() const;
    double highestTruePeak() const;
    int64_t numClipped() const;

    /// Measures `numFrames` frames from `offset` on, all cores at work; frames beyond the end of a track are
    /// silent. Nothing when it was cancelled or failed (no memory, or the files changed meanwhile), which
    /// `error` tells. Any thread.
    static std::optional<SoundStatistics> ofTracks(std::span<const AudioTrackPtr> tracks, double sampleRate,
                                                   int64_t offset, int64_t numFrames, Progress& progress,
                                                   MaybeError* error);
};

} // namespace velloria
