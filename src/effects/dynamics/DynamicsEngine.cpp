#include "effects/dynamics/DynamicsEngine.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace velloria
{

namespace
{

/// Frames between which levels and gains pass from step to step; they stay in the first-level cache.
constexpr size_t kChunkNumFrames = 256;
/// Of the tracks that are computed side by side: each sample waits for the one before it, so one track alone
/// leaves most of the processor idle.
constexpr size_t kMostLanes = 4;

/// The detector follows with a time constant of 6.25 ms.
constexpr double kLevelsPerSecond = 160.0;
/// A gain takes a quarter of the time that is entered. Everybody's settings have been made with that.
constexpr double kShareOfTime = 0.25;
/// The gain of an expander before its first sample: it opens at the attack's speed.
constexpr float kClosedGain = 0.001F;

/// What fades for ever would become so small that processors take a hundred times as long for it.
float withoutDust(float value)
{
    constexpr float kDust = 1e-30F;
    return std::fabs(value) < kDust ? 0.0F : value;
}

} // namespace

/// A chunk of some tracks on its way through the steps.
struct DynamicsEngine::Lanes {
    std::array<float*, kMostLanes> samples;
    size_t numFrames;
    /// Levels first, then the gains that they ask for.
    std::array<std::array<float, kChunkNumFrames>, kMostLanes> values;
};

void DynamicsEngine::setUp(const Settings& settings, double sampleRate)
{
    const auto rate = static_cast<double>(static_cast<float>(sampleRate));
    const auto stepOf = [rate](double seconds) { return 1.0 / std::max(1.0, seconds * kShareOfTime * rate); };
    mIsRms = settings.isRms;
    mGainLaw = {settings.isRms ? 10.0 : 20.0, settings.thresholdDB, settings.ratio};
    mLevelStep = kLevelsPerSecond / rate;
    mFallStep = stepOf(settings.attackSeconds);
    mRiseStep = stepOf(settings.releaseSeconds);
    if (mLaw == Law::expand)
        std::swap(mFallStep, mRiseStep);
    mOutputFactor = settings.outputFactor;
}

void DynamicsEngine::reset(size_t numTracks)
{
    mStates.assign(numTracks, {0.0F, mLaw == Law::compress ? 1.0F : kClosedGain});
    mNumFramesInChunk = 0;
    mLowestGain = 1.0F;
}

float DynamicsEngine::takeLowestGain()
{
    return std::exchange(mLowestGain, 1.0F);
}

void DynamicsEngine::process(std::span<FloatBuffer> tracks)
{
    const size_t count = std::min(tracks.size(), mStates.size());
    const std::span<State> states(mStates);
    const size_t numInChunk = mNumFramesInChunk;
    const auto processLanesFrom = [&](size_t track, auto lanes) {
        // Each group of tracks goes through the same frames.
        mNumFramesInChunk = numInChunk;
        processLanes<lanes.value>(tracks.subspan(track), states.subspan(track));
    };
    size_t track = 0;
    for (; track + kMostLanes <= count; track += kMostLanes)
        processLanesFrom(track, std::integral_constant<size_t, kMostLanes>());
    for (; track + 2 <= count; track += 2)
        processLanesFrom(track, std::integral_constant<size_t, 2>());
    for (; track < count; ++track)
        processLanesFrom(track, std::integral_constant<size_t, 1>());
}

/// The first kCount of the tracks.
template <size_t kCount>
void DynamicsEngine::processLanes(std::span<FloatBuffer> tracks, std::span<State> states)
{
    Lanes lanes;
    const std::span<State> used = states.first(kCount);
    const size_t numFrames = tracks.front().size();
    for (size_t start = 0; start < numFrames; start += lanes.numFrames) {
        // Counted on from block to block, so that results do not hang on the blocks' sizes.
        lanes.numFrames = std::min(numFrames - start, kChunkNumFrames - mNumFramesInChunk);
        for (size_t lane = 0; lane < kCount; ++lane)
            lanes.samples[lane] = tracks[lane].data() + start;
        if (mIsRms)
            follow<kCount, true>(lanes, used);
        else
            follow<kCount, false>(lanes, used);
        for (size_t lane = 0; lane < kCount; ++lane) {
            const std::span<float> values(lanes.values[lane].data(), lanes.numFrames);
            if (mLaw == Law::compress)
                mGainLaw.compress(values);
            else
                mGainLaw.expand(values);
        }
        smooth<kCount>(lanes, used);
        mNumFramesInChunk = (mNumFramesInChunk + lanes.numFrames) % kChunkNumFrames;
        settle(used);
    }
}

template <size_t kCount, bool kIsRms> void DynamicsEngine::follow(Lanes& lanes, std::span<State> states) const
{
    const double step = mLevelStep;
    std::array<float, kCount> levels;
    for (size_t lane = 0; lane < kCount; ++lane)
        levels[lane] = states[lane].level;
    for (size_t i = 0; i < lanes.numFrames; ++i) {
        for (size_t lane = 0; lane < kCount; ++lane) {
            const float sample = lanes.samples[lane][i];
            const auto level = static_cast<double>(levels[lane]);
            if constexpr (kIsRms) {
                const double power = static_cast<double>(sample) * static_cast<double>(sample);
                levels[lane] = static_cast<float>(level + (power - level) * step);
            } else {
                // A peak rises at once.
                const float peak = std::fabs(sample);
                const auto fallen = static_cast<float>(level + (static_cast<double>(peak) - level) * step);
                levels[lane] = peak < levels[lane] ? fallen : peak;
            }
            lanes.values[lane][i] = levels[lane];
        }
    }
    for (size_t lane = 0; lane < kCount; ++lane)
        states[lane].level = levels[lane];
}

template <size_t kCount> void DynamicsEngine::smooth(Lanes& lanes, std::span<State> states) const
{
    const double fallStep = mFallStep;
    const double riseStep = mRiseStep;
    const double outputFactor = mOutputFactor;
    std::array<float, kCount> gains;
    for (size_t lane = 0; lane < kCount; ++lane)
        gains[lane] = states[lane].gain;
    for (size_t i = 0; i < lanes.numFrames; ++i) {
        for (size_t lane = 0; lane < kCount; ++lane) {
            const float target = lanes.values[lane][i];
            const double step = target < gains[lane] ? fallStep : riseStep;
            const auto gain = static_cast<double>(gains[lane]);
            gains[lane] = static_cast<float>(gain + (static_cast<double>(target) - gain) * step);
            const double sample = static_cast<double>(lanes.samples[lane][i]);
            lanes.samples[lane][i] =
                static_cast<float>(sample * static_cast<double>(gains[lane]) * outputFactor);
        }
    }
    for (size_t lane = 0; lane < kCount; ++lane)
        states[lane].gain = gains[lane];
}

/// Between two chunks.
void DynamicsEngine::settle(std::span<State> states)
{
    for (State& state : states) {
        mLowestGain = std::min(mLowestGain, state.gain);
        if (mNumFramesInChunk == 0)
            state = {withoutDust(state.level), withoutDust(state.gain)};
    }
}

} // namespace velloria
