#include "effects/frame/LevelMatchedBypass.h"

#include "effects/frame/SampleArithmetic.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kMeanSeconds = 0.3;
constexpr double kFadeSeconds = 0.01;
constexpr double kSilence = 1e-10; ///< -100 dB
constexpr double kMostGain = 16.0;

double meanSquare(const SampleBlock& block)
{
    double sum = 0.0;
    for (const FloatBuffer& channel : block)
        sum += SampleArithmetic::sumOfSquares(channel);
    return sum / static_cast<double>(std::max<size_t>(1, block.size() * block.front().size()));
}

} // namespace

float LevelMatchedBypass::levelledGain(const SampleBlock& wet, const SampleBlock& dry)
{
    const double seconds = static_cast<double>(wet.front().size()) / mSampleRate;
    const double kept = mWetPower < 0.0 ? 0.0 : std::exp(-seconds / kMeanSeconds);
    mWetPower = kept * mWetPower + (1.0 - kept) * meanSquare(wet);
    mDryPower = kept * mDryPower + (1.0 - kept) * meanSquare(dry);
    // Between silence and anything there is no level to match.
    if (mWetPower < kSilence || mDryPower < kSilence)
        return mGain;
    return static_cast<float>(std::clamp(std::sqrt(mWetPower / mDryPower), 1.0 / kMostGain, kMostGain));
}

void LevelMatchedBypass::process(SampleBlock& wet, const SampleBlock& dry)
{
    if (wet.empty() || wet.front().empty())
        return;
    const size_t count = wet.front().size();
    const float newGain = levelledGain(wet, dry);
    const float gainStep = (newGain - mGain) / static_cast<float>(count);
    const auto shareStep =
        static_cast<float>(1.0 / (kFadeSeconds * mSampleRate)) * (isBypassed() ? 1.0F : -1.0F);
    float share = mShare;
    for (size_t channel = 0; channel < wet.size(); ++channel) {
        share = mShare;
        float gain = mGain;
        for (size_t i = 0; i < count; ++i) {
            share = std::clamp(share + shareStep, 0.0F, 1.0F);
            gain += gainStep;
            wet[channel][i] += share * (dry[channel][i] * gain - wet[channel][i]);
        }
    }
    mShare = share;
    mGain = newGain;
}

} // namespace velloria
