#pragma once

#include "document/TrackRateConverter.h"

#include <condition_variable>
#include <map>
#include <mutex>

namespace velloria
{

/// The frames of a track at another sample rate, converted as they are read. Made for a save, which reads all
/// of them once and nearly in order, on several threads: what a reader passes over waits for the other ones.
/// Going back to what was given already begins the conversion anew. Any thread.
class RateConversionReader
{
public:
    /// Null with `error` filled where there is no conversion between the rates.
    static std::shared_ptr<RateConversionReader> create(AudioTrackPtr track, double sourceRate,
                                                        double targetRate, MaybeError* error);

    /// Fills `out` with the frames from `offset` on, with zeros behind the last one.
    void read(int64_t offset, std::span<float> out);

private:
    RateConversionReader(AudioTrackPtr track, double sourceRate, double targetRate);
    bool begin(MaybeError* error);
    bool convertSome(std::unique_lock<std::mutex>& lock);
    /// The frames at `offset` that wait, as many as `out` has room for, moved there; gives their number.
    size_t takeWaiting(int64_t offset, std::span<float> out);

    const AudioTrackPtr mTrack;
    const double mSourceRate;
    const double mTargetRate;
    std::mutex mMutex;
    std::condition_variable mConverted;
    bool mIsConverting = false; ///< some thread, which does not hold the mutex meanwhile
    std::unique_ptr<TrackRateConverter> mConverter;
    int64_t mPosition = 0;                   ///< of the next frame to be converted
    std::map<int64_t, FloatBuffer> mWaiting; ///< converted and not yet read, by position
};

} // namespace velloria
