#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace velloria
{

/// Loudness by ITU-R BS.1770-4 and EBU R 128, computed by libebur128. Up to five tracks are left, right,
/// centre and two surrounds, four are left, right and two surrounds; from six
/// on, the fourth is the low frequencies, which do not count, and the seventh and eighth are the sides. More
/// than eight have no places: the further ones count like those in front. All values are in LUFS, minus
/// infinity where there was too little sound or only silence.
class LoudnessMeter
{
public:
    /// Null for rates at which the standard's filter has no meaning (below 8 kHz), and for more than 64
    /// tracks.
    static std::unique_ptr<LoudnessMeter> make(double sampleRate, size_t numTracks);
    ~LoudnessMeter();
    LoudnessMeter(const LoudnessMeter&) = delete;
    LoudnessMeter& operator=(const LoudnessMeter&) = delete;

    /// One span a track, all of one length. Samples that are no finite numbers count as silence. False when
    /// there is no memory.
    bool addFrames(std::span<const std::span<const float>> tracks);

    /// Of all sound, gated.
    double integrated() const;
    /// In LU: the spread of the loudness of 3 s, gated. 0 where it cannot be told.
    double range() const;
    /// Of the last 400 ms, told anew every 10 ms, so that no burst falls between two.
    double momentary() const { return mMomentary; }
    /// Of the last 3 s, likewise.
    double shortTerm() const { return mShortTerm; }
    double highestMomentary() const { return mHighestMomentary; }
    double highestShortTerm() const { return mHighestShortTerm; }

private:
    struct State; ///< the library's

    LoudnessMeter(std::unique_ptr<State> state, double sampleRate, size_t numTracks);
    void stepDidEnd();
    double meanOfLastSteps(size_t count) const;

    static constexpr size_t kMomentaryNumSteps = 40;
    static constexpr size_t kShortTermNumSteps = 300;

    std::unique_ptr<State> mState;
    size_t mNumTracks;
    size_t mStepNumFrames; ///< 10 ms
    size_t mNumFramesInStep = 0;
    uint64_t mNumSteps = 0;
    std::array<double, kShortTermNumSteps> mEnergies{}; ///< mean squares of the last steps, as a ring
    std::vector<float> mInterleaved;
    double mMomentary;
    double mShortTerm;
    double mHighestMomentary;
    double mHighestShortTerm;
};

} // namespace velloria
