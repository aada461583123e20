#include "measurement/LevelMeter.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>

namespace velloria
{

namespace
{

// Sums in one variable must be taken in order, one sample after another. Several running ones, one a lane,
// are what vector registers hold.
constexpr size_t kNumLanes = 16;

struct Lanes {
    std::array<float, kNumLanes> peaks{};
    std::array<int32_t, kNumLanes> numClipped{};
    std::array<double, kNumLanes> sums{};
    std::array<double, kNumLanes> sumsOfSquares{};

    void add(const float* samples, size_t count)
    {
        for (size_t lane = 0; lane < count; ++lane) {
            const float magnitude = std::fabs(samples[lane]);
            const float sample = magnitude <= FLT_MAX ? samples[lane] : 0.0F;
            const float finite = magnitude <= FLT_MAX ? magnitude : 0.0F;
            peaks[lane] = finite > peaks[lane] ? finite : peaks[lane];
            numClipped[lane] += finite >= LevelMeter::fullScale ? 1 : 0;
            sums[lane] += static_cast<double>(sample);
            sumsOfSquares[lane] += static_cast<double>(sample) * static_cast<double>(sample);
        }
    }
};

// What a lane counts of it fits 32 bits.
constexpr size_t kRunNumSamples = 1 << 20;

} // namespace

void LevelMeter::addSamples(std::span<const float> samples)
{
    while (!samples.empty()) {
        const std::span<const float> run = samples.first(std::min(samples.size(), kRunNumSamples));
        Lanes lanes;
        const size_t numWhole = run.size() - run.size() % kNumLanes;
        for (size_t i = 0; i < numWhole; i += kNumLanes)
            lanes.add(&run[i], kNumLanes);
        if (numWhole < run.size())
            lanes.add(&run[numWhole], run.size() - numWhole);
        for (size_t lane = 0; lane < kNumLanes; ++lane) {
            mPeak = std::max(mPeak, lanes.peaks[lane]);
            mNumClipped += lanes.numClipped[lane];
            mSum += lanes.sums[lane];
            mSumOfSquares += lanes.sumsOfSquares[lane];
        }
        mNumSamples += static_cast<int64_t>(run.size());
        samples = samples.subspan(run.size());
    }
}

double LevelMeter::rms() const
{
    return mNumSamples > 0 ? std::sqrt(mSumOfSquares / static_cast<double>(mNumSamples)) : 0.0;
}

double LevelMeter::dcOffset() const
{
    return mNumSamples > 0 ? mSum / static_cast<double>(mNumSamples) : 0.0;
}

} // namespace velloria
