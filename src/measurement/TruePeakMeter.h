#pragma once

#include <array>
#include <span>
#include <vector>

namespace velloria
{

/// The highest level that one track reaches between its samples, by ITU-R BS.1770-4, annex 2: at four times
/// the rate below 96 kHz, twice below 192 kHz, and the samples themselves from there on. Between the samples
/// stands a sinc over 48 steps of the higher rate in a Hann window, the interpolation of libebur128, whose
/// own loop takes eight times as long. Samples that are no finite numbers count as silence.
class TruePeakMeter
{
public:
    explicit TruePeakMeter(double sampleRate);

    void addSamples(std::span<const float> samples);

    /// Linear; what the last samples become with those that follow is not in it.
    float truePeak() const { return mTruePeak; }

private:
    static constexpr size_t kMostTaps = 25;
    static constexpr size_t kRunNumSamples = 1024;

    /// The curve between two samples at one of the steps there: a weight for each of the newest samples, the
    /// newest first.
    struct Step {
        std::array<float, kMostTaps> weights{};
        float largestGain = 0.0F; ///< what a sample of 1 can come to at most
    };

    void addRun(std::span<const float> samples);
    float peakAtStep(const Step& step, size_t numSamples) const;

    size_t mNumTaps = 0;
    std::vector<Step> mSteps;
    /// The samples of a run behind the last ones before it.
    std::array<float, kMostTaps + kRunNumSamples> mSamples{};
    float mPeakBefore = 0.0F; ///< of the run before
    float mTruePeak = 0.0F;
};

} // namespace velloria
