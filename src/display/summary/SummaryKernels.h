#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

namespace velloria
{

/// Extremes of a run of samples; min > max when there was none (or, for floats, only NaN).
template <typename Sample> struct SampleRange {
    Sample min;
    Sample max;

    void fold(const SampleRange& other)
    {
        min = other.min < min ? other.min : min;
        max = other.max > max ? other.max : max;
    }
    bool isEmpty() const { return min > max; }
};

inline constexpr SampleRange<int16_t> kEmptyInt16Range = {INT16_MAX, INT16_MIN};
inline constexpr SampleRange<float> kEmptyFloatRange = {std::numeric_limits<float>::infinity(),
                                                        -std::numeric_limits<float>::infinity()};

/// The minimum/maximum loops behind the summaries, vectorised; the same results on every processor.
namespace SummaryKernels
{

SampleRange<int16_t> range(const int16_t* samples, size_t count);

/// NaN counts for nothing.
SampleRange<float> range(const float* samples, size_t count);

/// Extremes of (min, max) pairs, each pair min first.
SampleRange<int16_t> rangeOfPairs(const int16_t* pairs, size_t numPairs);

/// One range a channel of interleaved frames, folded into ranges[0 .. numChannels-1].
void foldInterleaved(const int16_t* frames, size_t numFrames, size_t numChannels,
                     SampleRange<int16_t>* ranges);

/// The ranges of successive groups: those of all channels of the first group, then of the second, ...
void rangesOfGroups(const int16_t* frames, size_t groupFrames, size_t numChannels, size_t numGroups,
                    SampleRange<int16_t>* ranges);
void rangesOfGroups(const float* samples, size_t groupSamples, size_t numGroups, SampleRange<float>* ranges);

} // namespace SummaryKernels

} // namespace velloria
