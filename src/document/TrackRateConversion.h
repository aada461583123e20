#pragma once

#include "document/clips/AudioTrack.h"
#include "platform/Error.h"
#include "platform/Progress.h"

#include <vector>

namespace velloria
{

/// Brings tracks to another sample rate. Tracks are converted side by side, as many at a time as the machine
/// has cores; what was converted is written to the scratch files meanwhile. Main thread.
class TrackRateConversion
{
public:
    TrackRateConversion(double sourceRate, double targetRate);

    /// New tracks (pan 0, volume 1), each ceil(length x target rate / source rate) frames long. Cancelled,
    /// the last of them ends where the conversion stood, and those behind it are missing. Nothing, with
    /// `error` filled, when a scratch file cannot be written or there is no conversion between the rates.
    std::vector<AudioTrackPtr> convert(const std::vector<AudioTrackPtr>& tracks, Progress& progress,
                                       MaybeError* error);

    /// The same tracks, converted only while they are read: no scratch file is written. For a document that
    /// is read once more, to be saved (see RateConversionReader).
    std::vector<AudioTrackPtr> convertWhenRead(const std::vector<AudioTrackPtr>& tracks,
                                               MaybeError* error) const;

private:
    struct Channel;

    /// False after an error.
    bool convertGroup(std::span<const AudioTrackPtr> tracks, Progress& progress, MaybeError* error);

    double mSourceRate;
    double mTargetRate;
    int64_t mNumFramesToDo = 0;
    int64_t mNumFramesDone = 0;
    bool mIsCancelled = false;
    std::vector<AudioTrackPtr> mConverted;
};

} // namespace velloria
