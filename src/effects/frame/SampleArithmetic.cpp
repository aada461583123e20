#include "effects/frame/SampleArithmetic.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <numeric>

namespace velloria::SampleArithmetic
{

namespace
{

// A sum or maximum in one variable must be taken in order, one sample after another. Several running ones,
// one a lane, are what vector registers hold.
constexpr size_t kNumLanes = 16;

template <typename Value, typename Step>
std::array<Value, kNumLanes> reduceInLanes(std::span<const float> samples, Step step)
{
    std::array<Value, kNumLanes> lanes{};
    const size_t numWhole = samples.size() - samples.size() % kNumLanes;
    for (size_t i = 0; i < numWhole; i += kNumLanes)
        for (size_t lane = 0; lane < kNumLanes; ++lane)
            lanes[lane] = step(lanes[lane], samples[i + lane]);
    for (size_t i = numWhole; i < samples.size(); ++i)
        lanes[i - numWhole] = step(lanes[i - numWhole], samples[i]);
    return lanes;
}

} // namespace

void scale(std::span<float> samples, float factor)
{
    for (float& sample : samples)
        sample *= factor;
}

float peak(std::span<const float> samples)
{
    const auto larger = [](float largest, float sample) {
        const float magnitude = std::fabs(sample);
        const float finite = magnitude <= FLT_MAX ? magnitude : 0.0F;
        return finite > largest ? finite : largest;
    };
    const auto lanes = reduceInLanes<float>(samples, larger);
    return *std::max_element(lanes.begin(), lanes.end());
}

double sumOfSquares(std::span<const float> samples)
{
    const auto addSquare = [](double sum, float sample) {
        const float finite = std::fabs(sample) <= FLT_MAX ? sample : 0.0F;
        return sum + static_cast<double>(finite) * static_cast<double>(finite);
    };
    const auto lanes = reduceInLanes<double>(samples, addSquare);
    return std::accumulate(lanes.begin(), lanes.end(), 0.0);
}

} // namespace velloria::SampleArithmetic
