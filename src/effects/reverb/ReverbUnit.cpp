#include "effects/reverb/ReverbUnit.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace velloria
{

namespace
{

/// Milliseconds of the loops in a room of size 1.
constexpr std::array<float, ReverbUnit::kNumCombs> kCombMilliseconds = {5.0F,   5.63F,  6.103F,
                                                                        6.892F, 7.214F, 7.923F};
constexpr double kDelaySeconds = 0.006;
/// A loop longer than the decay has no gain that would fit; this is as good as none.
constexpr float kSteepest = 100.0F;
constexpr float kLeastLoops = 0.01F;
constexpr float kSilence = 0.001F; ///< -60 dB, where a decay ends

/// A line without a place would let nothing through; at the lowest rates there is one of one.
int32_t atLeastOne(double numFrames)
{
    return std::max(1, static_cast<int32_t>(numFrames));
}

/// A room falls silent through numbers so small that processors take a hundred times as long for them.
float withoutDenormals(float value)
{
    return std::fabs(value) < FLT_MIN ? 0.0F : value;
}

} // namespace

ReverbUnit::ReverbUnit(float roomSize, float decay, float color, float level, float sampleRate)
    : mSampleRate(sampleRate)
    , mRoomSize(roomSize)
    , mDelayLine(atLeastOne(static_cast<double>(sampleRate) * kDelaySeconds))
{
    for (size_t comb = 0; comb < kNumCombs; ++comb)
        mCombLines.emplace_back(combNumFrames(comb));
    setLevel(level);
    setColor(color);
    setDecay(decay);
}

int32_t ReverbUnit::combNumFrames(size_t index) const
{
    const double milliseconds =
        static_cast<double>(kCombMilliseconds[index]) * static_cast<double>(mRoomSize);
    return atLeastOne(std::round(milliseconds * 0.001 * static_cast<double>(mSampleRate)));
}

double ReverbUnit::longestLoopSeconds(double roomSize)
{
    return static_cast<double>(kCombMilliseconds.back()) * roomSize * 0.001;
}

void ReverbUnit::setRoomSize(float roomSize)
{
    mRoomSize = roomSize;
    for (size_t comb = 0; comb < kNumCombs; ++comb)
        mCombLines[comb].setNumFrames(combNumFrames(comb));
}

void ReverbUnit::setLevel(float decibels)
{
    mDelayGain = std::pow(10.0F, decibels / 20.0F);
}

void ReverbUnit::setDecay(float seconds)
{
    for (size_t comb = 0; comb < kNumCombs; ++comb) {
        const float numLoops = seconds * 1000.0F / (kCombMilliseconds[comb] * mRoomSize) - 1.0F;
        const float exponent = numLoops < kLeastLoops ? kSteepest : 1.0F / numLoops;
        // 1 in the softest room, which must not grow by a rounding.
        mCombGains[comb] = std::min(1.0F, std::pow(kSilence / mDelayGain, exponent));
    }
}

void ReverbUnit::setColor(float hertz)
{
    mLowPassCoeff = std::min(1.0F, 2.0F * hertz / mSampleRate);
}

void ReverbUnit::processData(std::span<float> samples)
{
    while (!samples.empty()) {
        // As far as no line comes to its end.
        size_t count = mDelayLine.run(samples.size()).size();
        for (CircularBuffer& line : mCombLines)
            count = line.run(count).size();
        processRun(samples.first(count));
        samples = samples.subspan(count);
    }
}

void ReverbUnit::processRun(std::span<float> samples)
{
    std::array<float*, kNumCombs> slots;
    std::array<float, kNumCombs> newest;
    const std::array<float, kNumCombs> gains = mCombGains;
    for (size_t comb = 0; comb < kNumCombs; ++comb) {
        newest[comb] = mCombLines[comb].getPreviousFloatValue();
        slots[comb] = mCombLines[comb].run(samples.size()).data();
    }
    float* const delayed = mDelayLine.run(samples.size()).data();
    const float lowPass = mLowPassCoeff;
    const float level = mDelayGain;
    // Within a comb each sample waits for the one before it; the six of them keep the processor busy.
    for (size_t i = 0; i < samples.size(); ++i) {
        const float sample = samples[i];
        float sum = 0.0F;
        for (size_t comb = 0; comb < kNumCombs; ++comb) {
            const float oldest = slots[comb][i];
            const float damped = (oldest - newest[comb]) * lowPass + newest[comb];
            newest[comb] = withoutDenormals(sample + damped * gains[comb]);
            slots[comb][i] = newest[comb];
            sum += oldest;
        }
        samples[i] = sample + delayed[i] * level;
        delayed[i] = sum;
    }
    for (CircularBuffer& line : mCombLines)
        line.advance(samples.size());
    mDelayLine.advance(samples.size());
}

} // namespace velloria
