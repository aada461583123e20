#include "measurement/LoudnessMeter.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <ebur128.h>
#include <limits>

namespace velloria
{

namespace
{

constexpr double kLowestRate = 8000.0;
constexpr double kHighestRate = 2822400.0;
constexpr size_t kMostTracks = 64;
constexpr double kNothing = -std::numeric_limits<double>::infinity();
/// Between the mean square of the filtered sound and its loudness (BS.1770-4, equation 2).
constexpr double kLoudnessOffset = -0.691;
constexpr unsigned long kStepMilliseconds = 10;
constexpr size_t kFirstSideTrack = 6;
constexpr size_t kMostPlacedTracks = 8;

double loudnessOfEnergy(double energy)
{
    return energy > 0.0 ? 10.0 * std::log10(energy) + kLoudnessOffset : kNothing;
}

} // namespace

struct LoudnessMeter::State {
    State(size_t numTracks, double sampleRate)
        : state(ebur128_init(static_cast<unsigned>(numTracks),
                             static_cast<unsigned long>(std::lround(sampleRate)),
                             EBUR128_MODE_I | EBUR128_MODE_LRA))
    {
    }
    ~State()
    {
        if (state)
            ebur128_destroy(&state);
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    ebur128_state* state; ///< null when there was no memory
};

std::unique_ptr<LoudnessMeter> LoudnessMeter::make(double sampleRate, size_t numTracks)
{
    if (!(sampleRate >= kLowestRate && sampleRate <= kHighestRate) || numTracks < 1 ||
        numTracks > kMostTracks)
        return nullptr;
    auto state = std::make_unique<State>(numTracks, sampleRate);
    if (!state->state)
        return nullptr;
    // The library places no more than six, and leaves out what it does not place.
    for (size_t track = kFirstSideTrack; track < numTracks; ++track) {
        const int place = numTracks > kMostPlacedTracks ? EBUR128_CENTER
                          : track == kFirstSideTrack    ? EBUR128_Mp090
                                                        : EBUR128_Mm090;
        if (ebur128_set_channel(state->state, static_cast<unsigned>(track), place) != EBUR128_SUCCESS)
            return nullptr;
    }
    return std::unique_ptr<LoudnessMeter>(new LoudnessMeter(std::move(state), sampleRate, numTracks));
}

LoudnessMeter::LoudnessMeter(std::unique_ptr<State> state, double sampleRate, size_t numTracks)
    : mState(std::move(state))
    , mNumTracks(numTracks)
    , mStepNumFrames(static_cast<size_t>(std::lround(sampleRate)) * kStepMilliseconds / 1000)
    , mMomentary(kNothing)
    , mShortTerm(kNothing)
    , mHighestMomentary(kNothing)
    , mHighestShortTerm(kNothing)
{
}

LoudnessMeter::~LoudnessMeter() = default;

bool LoudnessMeter::addFrames(std::span<const std::span<const float>> tracks)
{
    const size_t numFrames = tracks.empty() ? 0 : tracks.front().size();
    for (size_t done = 0; done < numFrames;) {
        const size_t count = std::min(numFrames - done, mStepNumFrames - mNumFramesInStep);
        mInterleaved.resize(count * mNumTracks);
        for (size_t track = 0; track < mNumTracks; ++track)
            for (size_t i = 0; i < count; ++i) {
                const float sample = tracks[track][done + i];
                mInterleaved[i * mNumTracks + track] = std::fabs(sample) <= FLT_MAX ? sample : 0.0F;
            }
        if (ebur128_add_frames_float(mState->state, mInterleaved.data(), count) != EBUR128_SUCCESS)
            return false;
        done += count;
        mNumFramesInStep += count;
        if (mNumFramesInStep == mStepNumFrames)
            stepDidEnd();
    }
    return true;
}

void LoudnessMeter::stepDidEnd()
{
    mNumFramesInStep = 0;
    // The library sums a whole window each time it is asked. Asked for the newest 10 ms alone, of which both
    // windows consist, it looks at each frame once.
    double loudness = kNothing;
    const bool isKnown =
        ebur128_loudness_window(mState->state, kStepMilliseconds, &loudness) == EBUR128_SUCCESS &&
        loudness > -HUGE_VAL;
    mEnergies[mNumSteps % mEnergies.size()] =
        isKnown ? std::pow(10.0, (loudness - kLoudnessOffset) / 10.0) : 0.0;
    ++mNumSteps;
    if (mNumSteps >= kMomentaryNumSteps)
        mMomentary = loudnessOfEnergy(meanOfLastSteps(kMomentaryNumSteps));
    if (mNumSteps >= kShortTermNumSteps)
        mShortTerm = loudnessOfEnergy(meanOfLastSteps(kShortTermNumSteps));
    mHighestMomentary = std::max(mHighestMomentary, mMomentary);
    mHighestShortTerm = std::max(mHighestShortTerm, mShortTerm);
}

double LoudnessMeter::meanOfLastSteps(size_t count) const
{
    double sum = 0.0;
    for (size_t i = 1; i <= count; ++i)
        sum += mEnergies[(mNumSteps - i) % mEnergies.size()];
    return sum / static_cast<double>(count);
}

double LoudnessMeter::integrated() const
{
    double loudness = kNothing;
    return ebur128_loudness_global(mState->state, &loudness) == EBUR128_SUCCESS ? loudness : kNothing;
}

double LoudnessMeter::range() const
{
    double range = 0.0;
    return ebur128_loudness_range(mState->state, &range) == EBUR128_SUCCESS ? range : 0.0;
}

} // namespace velloria
