#pragma once

#include "Classes/CoreAudio/DataSource.h"
#include "effects/dynamics/GainLaw.h"

#include <span>
#include <vector>

namespace velloria
{

/// The arithmetic that compressor, expander and gate share. For each sample of a track a detector follows the
/// level (of peaks or of power), a law in dB makes a gain of it, and one pole smooths that gain. Level and
/// gain are kept in single precision from one sample to the next, as these effects are known: a slow gain
/// stops a little before its goal. One thread.
class DynamicsEngine
{
public:
    /// What becomes of levels above the threshold (compress) or below it (expand).
    enum class Law { compress, expand };

    struct Settings {
        bool isRms = false;
        double thresholdDB = 0;
        double ratio = 1;
        double attackSeconds = 0; ///< while a compressor's gain falls, or an expander's rises
        double releaseSeconds = 0;
        double outputFactor = 1;
    };

    explicit DynamicsEngine(Law law)
        : mLaw(law)
    {
    }

    /// Counts from the next sample on.
    void setUp(const Settings& settings, double sampleRate);
    /// Levels of 0. A compressor begins with a gain of 1, an expander nearly closed.
    void reset(size_t numTracks);
    /// In place. Tracks beyond those of reset() stay as they are.
    void process(std::span<FloatBuffer> tracks);

    /// The smallest gain of any track since it was last asked for, as seen every some milliseconds and
    /// without the output factor.
    float takeLowestGain();

private:
    struct State {
        float level = 0.0F;
        float gain = 1.0F;
    };
    struct Lanes;

    template <size_t kCount> void processLanes(std::span<FloatBuffer> tracks, std::span<State> states);
    template <size_t kCount, bool kIsRms> void follow(Lanes& lanes, std::span<State> states) const;
    template <size_t kCount> void smooth(Lanes& lanes, std::span<State> states) const;
    void settle(std::span<State> states);

    const Law mLaw;
    GainLaw mGainLaw;
    bool mIsRms = false;
    double mLevelStep = 1; ///< the part of the way that the level goes in one sample
    double mFallStep = 1;  ///< and a gain, to a smaller one
    double mRiseStep = 1;
    double mOutputFactor = 1;
    std::vector<State> mStates; ///< one a track
    size_t mNumFramesInChunk = 0;
    float mLowestGain = 1.0F;
};

} // namespace velloria
