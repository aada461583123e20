#include "measurement/TruePeakMeter.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <numbers>

namespace velloria
{

namespace
{

constexpr int kNumSincSteps = 48;

int oversamplingAtRate(double sampleRate)
{
    return sampleRate < 96000.0 ? 4 : sampleRate < 192000.0 ? 2 : 1;
}

/// The windowed sinc at one of its 49 points.
double sincAtPoint(int point, int oversampling)
{
    const int fromCentre = point - kNumSincSteps / 2;
    const double x = std::numbers::pi * fromCentre / oversampling;
    const double window = 0.5 * (1.0 - std::cos(2.0 * std::numbers::pi * point / kNumSincSteps));
    return window * (fromCentre == 0 ? 1.0 : std::sin(x) / x);
}

float finite(float sample)
{
    return std::fabs(sample) <= FLT_MAX ? sample : 0.0F;
}

float peakOf(std::span<const float> samples)
{
    // One running maximum for each lane of a vector register.
    std::array<float, 16> peaks{};
    const size_t numWhole = samples.size() - samples.size() % peaks.size();
    for (size_t i = 0; i < numWhole; i += peaks.size())
        for (size_t lane = 0; lane < peaks.size(); ++lane) {
            const float magnitude = std::fabs(samples[i + lane]);
            peaks[lane] = magnitude > peaks[lane] ? magnitude : peaks[lane];
        }
    for (size_t i = numWhole; i < samples.size(); ++i)
        peaks[0] = std::max(peaks[0], std::fabs(samples[i]));
    return *std::max_element(peaks.begin(), peaks.end());
}

} // namespace

TruePeakMeter::TruePeakMeter(double sampleRate)
{
    const int oversampling = oversamplingAtRate(sampleRate);
    mNumTaps = oversampling > 1 ? static_cast<size_t>(kNumSincSteps / oversampling) : 0;
    // The sinc at the samples themselves is 1 at one and 0 at all others, so that step is the samples' own
    // peak.
    for (int phase = 1; phase < oversampling; ++phase) {
        Step step;
        double gain = 0.0;
        for (size_t tap = 0; tap < mNumTaps; ++tap) {
            const double weight = sincAtPoint(phase + static_cast<int>(tap) * oversampling, oversampling);
            step.weights[tap] = static_cast<float>(weight);
            gain += std::fabs(weight);
        }
        step.largestGain = static_cast<float>(gain * (1.0 + 1e-5));
        mSteps.push_back(step);
    }
}

void TruePeakMeter::addSamples(std::span<const float> samples)
{
    while (!samples.empty()) {
        const size_t count = std::min(samples.size(), kRunNumSamples);
        addRun(samples.first(count));
        samples = samples.subspan(count);
    }
}

void TruePeakMeter::addRun(std::span<const float> samples)
{
    for (size_t i = 0; i < samples.size(); ++i)
        mSamples[kMostTaps + i] = finite(samples[i]);
    const float peak = peakOf(std::span(mSamples).subspan(kMostTaps, samples.size()));
    mTruePeak = std::max(mTruePeak, peak);
    const float peakWithin = std::max(peak, mPeakBefore);
    // Most of a sound is too soft to be the loudest, whatever lies between its samples.
    for (const Step& step : mSteps)
        if (step.largestGain * peakWithin > mTruePeak)
            mTruePeak = std::max(mTruePeak, peakAtStep(step, samples.size()));
    std::copy_n(mSamples.begin() + static_cast<std::ptrdiff_t>(samples.size()), kMostTaps, mSamples.begin());
    mPeakBefore = peakOf(std::span(mSamples).first(kMostTaps));
}

float TruePeakMeter::peakAtStep(const Step& step, size_t numSamples) const
{
    std::array<float, kRunNumSamples> values{};
    for (size_t tap = 0; tap < mNumTaps; ++tap) {
        const float weight = step.weights[tap];
        const float* delayed = mSamples.data() + kMostTaps - tap;
        for (size_t i = 0; i < numSamples; ++i)
            values[i] += weight * delayed[i];
    }
    return peakOf(std::span(values).first(numSamples));
}

} // namespace velloria
