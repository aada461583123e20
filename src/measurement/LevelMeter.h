#pragma once

#include <cstdint>
#include <span>

namespace velloria
{

/// Plain sums over the samples of one track. Samples that are no finite numbers count as silence.
class LevelMeter
{
public:
    /// The highest value of 16 bits. Whatever reaches it was as loud as that format can be, and most likely
    /// cut off.
    static constexpr float fullScale = 32767.0F / 32768.0F;

    void addSamples(std::span<const float> samples);

    int64_t numSamples() const { return mNumSamples; }
    /// The largest magnitude.
    float peak() const { return mPeak; }
    /// Samples of at least full scale.
    int64_t numClipped() const { return mNumClipped; }
    /// Root of the mean square; 0 without samples.
    double rms() const;
    /// The mean; 0 without samples.
    double dcOffset() const;

private:
    int64_t mNumSamples = 0;
    int64_t mNumClipped = 0;
    float mPeak = 0.0F;
    double mSum = 0.0;
    double mSumOfSquares = 0.0;
};

} // namespace velloria
