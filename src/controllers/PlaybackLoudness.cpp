#include "controllers/PlaybackLoudness.h"

#include <array>
#include <cmath>

namespace velloria
{

namespace
{

/// The integrated loudness looks at all blocks so far, which is not to be done for each tick.
constexpr double kReadingsPerSecond = 10.0;

} // namespace

void PlaybackLoudness::begin(double sampleRate, bool isOneTrack)
{
    mSampleRate = sampleRate;
    mIsOneTrack = isOneTrack;
    mMeter = LoudnessMeter::make(sampleRate, isOneTrack ? 1 : 2);
    mNumFramesToReading = 0;
    mReading = {};
}

void PlaybackLoudness::end()
{
    mReading.momentary = LoudnessReading::kNothing;
    mReading.shortTerm = LoudnessReading::kNothing;
}

bool PlaybackLoudness::addFrames(std::span<const float> pairs)
{
    const size_t count = pairs.size() / 2;
    if (!mMeter || count == 0)
        return false;
    mLeft.resize(count);
    mRight.resize(count);
    for (size_t i = 0; i < count; ++i) {
        mLeft[i] = mIsOneTrack ? 0.5F * (pairs[2 * i] + pairs[2 * i + 1]) : pairs[2 * i];
        mRight[i] = pairs[2 * i + 1];
    }
    const std::array<std::span<const float>, 2> sides = {mLeft, mRight};
    if (!mMeter->addFrames(std::span(sides).first(mIsOneTrack ? 1 : 2)))
        mMeter.reset();
    mNumFramesToReading -= static_cast<int64_t>(count);
    if (!mMeter || mNumFramesToReading > 0)
        return false;
    mNumFramesToReading = std::llround(mSampleRate / kReadingsPerSecond);
    mReading = {mMeter->momentary(), mMeter->shortTerm(), mMeter->integrated()};
    return true;
}

} // namespace velloria
