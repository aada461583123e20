#include "measurement/TruePeakMeter.h"

#include "platform/VectorTarget.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <numbers>

namespace velloria
{

namespace
{

/// Taps of the filter that finds what lies half way between two samples, and of that which finds what lies
/// half way between those: the first is steep enough for 0.46 of the rate, the second, at twice the rate, has
/// it easier.
constexpr size_t kNumHalfTaps = 40;
constexpr size_t kNumQuarterTaps = 8;
/// Of their windows, Kaiser's: the ripple stays within 0.04 and 0.012 dB.
constexpr double kHalfBeta = 5.0;
constexpr double kQuarterBeta = 6.0;
/// Pairs of taps in one go through the samples.
constexpr size_t kPairsAtOnce = 4;
/// A curve that has nothing above half of the rate rises by no more than 1 / cos(pi / 8) between two points
/// at four times the rate.
constexpr float kMostAbovePoints = 1.0824F;
/// Columns that are worked out before and behind those of a run, for their neighbours.
constexpr size_t kBeside = 3;

double besselI0(double x)
{
    double sum = 1.0;
    double term = 1.0;
    for (int k = 1; term > 1e-17 * sum; ++k) {
        term *= std::pow(x / (2.0 * k), 2.0);
        sum += term;
    }
    return sum;
}

/// A windowed sinc at the half places; as it is symmetric, its first half. All together come to 1.
template <size_t Count> std::array<float, Count / 2> halfBand(double beta)
{
    std::array<double, Count / 2> weights{};
    double sum = 0.0;
    for (size_t i = 0; i < weights.size(); ++i) {
        const double place = static_cast<double>(i) - (static_cast<double>(Count) - 1.0) / 2.0;
        const double inWindow = place / (static_cast<double>(Count) / 2.0);
        weights[i] = std::sin(std::numbers::pi * place) / (std::numbers::pi * place) *
                     besselI0(beta * std::sqrt(1.0 - inWindow * inWindow));
        sum += 2.0 * weights[i];
    }
    std::array<float, Count / 2> scaled{};
    for (size_t i = 0; i < weights.size(); ++i)
        scaled[i] = static_cast<float>(weights[i] / sum);
    return scaled;
}

struct Filters {
    std::array<float, kNumHalfTaps / 2> half = halfBand<kNumHalfTaps>(kHalfBeta);
    std::array<float, kNumQuarterTaps / 2> quarter = halfBand<kNumQuarterTaps>(kQuarterBeta);
    float largestGain = 0.0F; ///< what samples of 1 can come to at most

    Filters()
    {
        float halfGain = 0.0F;
        for (const float weight : half)
            halfGain += 2.0F * std::fabs(weight);
        // Of the quarters' taps every other one is a sample and the others are halves.
        float quarterGain = 0.0F;
        for (size_t i = 0; i < quarter.size(); ++i)
            quarterGain += std::fabs(quarter[i]) * (1.0F + halfGain);
        largestGain = std::max(halfGain, quarterGain) * kMostAbovePoints;
    }
};

const Filters& filters()
{
    static const Filters designed;
    return designed;
}

/// Adds four pairs of taps, from the outer ones inwards.
struct PairsKernel {
    VELLORIA_KERNEL static void run(const float* __restrict first, const float* __restrict last,
                                    const float* __restrict weights, float* __restrict sums, size_t count)
    {
        const float w0 = weights[0];
        const float w1 = weights[1];
        const float w2 = weights[2];
        const float w3 = weights[3];
        for (size_t i = 0; i < count; ++i)
            sums[i] += (w0 * (first[i] + last[i + 3]) + w1 * (first[i + 1] + last[i + 2])) +
                       (w2 * (first[i + 2] + last[i + 1]) + w3 * (first[i + 3] + last[i]));
    }
};

/// What lies between samples and halves: `samples` and `halves` begin one and two columns before the first.
struct QuartersKernel {
    VELLORIA_KERNEL static void run(const float* __restrict samples, const float* __restrict halves,
                                    const float* __restrict weights, float* __restrict quarters,
                                    float* __restrict threeQuarters, size_t count)
    {
        const float w0 = weights[0];
        const float w1 = weights[1];
        const float w2 = weights[2];
        const float w3 = weights[3];
        for (size_t i = 0; i < count; ++i) {
            quarters[i] = (w0 * (halves[i] + samples[i + 3]) + w1 * (samples[i] + halves[i + 3])) +
                          (w2 * (halves[i + 1] + samples[i + 2]) + w3 * (samples[i + 1] + halves[i + 2]));
            threeQuarters[i] =
                (w0 * (samples[i] + halves[i + 4]) + w1 * (halves[i + 1] + samples[i + 3])) +
                (w2 * (samples[i + 1] + halves[i + 3]) + w3 * (halves[i + 2] + samples[i + 2]));
        }
    }
};

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

/// The top of the parabola through a peak and its neighbours.
float topOf(float before, float peak, float behind)
{
    const float sign = peak < 0.0F ? -1.0F : 1.0F;
    const float height = std::fabs(peak);
    const float slope = sign * (behind - before);
    const float bend = 2.0F * height - sign * (before + behind);
    if (!(bend > 0.0F))
        return height;
    return std::min(height + slope * slope / (8.0F * bend), height * kMostAbovePoints);
}

} // namespace

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
        mSamples[2 * kReach + i] = finite(samples[i]);
    const float peak = peakOf(std::span(mSamples).subspan(2 * kReach, samples.size()));
    mTruePeak = std::max(mTruePeak, peak);
    // Much of a sound is too soft to be the loudest, whatever lies between its samples.
    if (filters().largestGain * std::max(peak, mPeakBefore) > mTruePeak)
        addBetweenSamples(samples.size());
    std::copy_n(mSamples.begin() + static_cast<std::ptrdiff_t>(samples.size()), 2 * kReach, mSamples.begin());
    mPeakBefore = peakOf(std::span(mSamples).first(2 * kReach));
}

/// As many columns as samples have come, the filters' reach before them, and some on either side.
void TruePeakMeter::addBetweenSamples(size_t numSamples)
{
    const Filters& used = filters();
    const size_t numHalves = numSamples + 2 * kBeside;
    mHalves.fill(0.0F);
    const float* first = mSamples.data() + kReach - kBeside - (kNumHalfTaps / 2 - 1);
    const float* last = first + kNumHalfTaps - kPairsAtOnce;
    for (size_t pair = 0; pair < used.half.size(); pair += kPairsAtOnce)
        runKernel<PairsKernel>(first + pair, last - pair, used.half.data() + pair, mHalves.data(), numHalves);
    runKernel<QuartersKernel>(static_cast<const float*>(mSamples.data() + kReach - 2),
                              static_cast<const float*>(mHalves.data()), used.quarter.data(),
                              mQuarters.data(), mThreeQuarters.data(), numSamples + 2);
    const float highest = std::max({peakOf(std::span(mHalves).first(numHalves)),
                                    peakOf(std::span(mQuarters).first(numSamples + 2)),
                                    peakOf(std::span(mThreeQuarters).first(numSamples + 2)),
                                    peakOf(std::span(mSamples).subspan(kReach, numSamples))});
    if (highest * kMostAbovePoints > mTruePeak)
        addTops(numSamples);
}

void TruePeakMeter::addTops(size_t numSamples)
{
    // The first column of the quarters is that before the run's first sample.
    float before = mThreeQuarters[0];
    for (size_t i = 0; i < numSamples; ++i) {
        const std::array<float, 5> points = {mSamples[kReach + i], mQuarters[i + 1], mHalves[i + kBeside],
                                             mThreeQuarters[i + 1], mSamples[kReach + i + 1]};
        for (size_t k = 0; k + 1 < points.size(); ++k) {
            const float height = std::fabs(points[k]);
            if (height * kMostAbovePoints > mTruePeak && height >= std::fabs(before) &&
                height >= std::fabs(points[k + 1]))
                mTruePeak = std::max(mTruePeak, topOf(before, points[k], points[k + 1]));
            before = points[k];
        }
    }
}

} // namespace velloria
