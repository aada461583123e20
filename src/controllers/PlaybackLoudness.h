#pragma once

#include "measurement/LoudnessMeter.h"

#include <limits>
#include <memory>
#include <span>
#include <vector>

namespace velloria
{

/// In LUFS; minus infinity where there was too little sound or only silence.
struct LoudnessReading {
    static constexpr double kNothing = -std::numeric_limits<double>::infinity();

    double momentary = kNothing;  ///< of 400 ms
    double shortTerm = kNothing;  ///< of 3 s
    double integrated = kNothing; ///< of everything since the measurement began, gated
};

/// Measures what plays as it is rendered: ten times a second there is a new reading. Main thread.
class PlaybackLoudness
{
public:
    /// For the frames to come, from nothing. A sound of one track comes out on both sides, but counts once,
    /// so that it is as loud here as when the document is measured. Rates below 8 kHz have no loudness.
    void begin(double sampleRate, bool isOneTrack);
    /// The same once more.
    void reset() { begin(mSampleRate, mIsOneTrack); }
    /// Nothing sounds any more; what was measured of all of it stays.
    void end();
    /// Interleaved pairs. Whether the reading is a new one.
    bool addFrames(std::span<const float> pairs);

    const LoudnessReading& reading() const { return mReading; }

private:
    double mSampleRate = 0.0;
    bool mIsOneTrack = false;
    std::unique_ptr<LoudnessMeter> mMeter; ///< null where there is no loudness
    int64_t mNumFramesToReading = 0;
    LoudnessReading mReading;
    std::vector<float> mLeft;
    std::vector<float> mRight;
};

} // namespace velloria
