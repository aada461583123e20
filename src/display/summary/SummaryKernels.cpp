#include "display/summary/SummaryKernels.h"

#include "platform/VectorTarget.h"

#include <algorithm>
#include <array>
#include <cstring>

#if VELLORIA_AVX2_VARIANTS
#include <immintrin.h>
#endif

namespace velloria::SummaryKernels
{

namespace
{

// Several registers a side hide the latency of min and max.
constexpr size_t kInt16Lanes = 32;
constexpr size_t kFloatLanes = 32;
// For channel counts that do not divide the lanes: this many frames are folded as one wide block.
constexpr size_t kWideFrames = 16;
constexpr size_t kMaxWideChannels = 32;

template <typename Sample> VELLORIA_KERNEL Sample lesser(Sample sample, Sample low)
{
    // In this order a NaN sample fails the comparison and what there was stays.
    return sample < low ? sample : low;
}

template <typename Sample> VELLORIA_KERNEL Sample greater(Sample sample, Sample high)
{
    return sample > high ? sample : high;
}

template <typename Sample> struct Empty;
template <> struct Empty<int16_t> {
    static constexpr SampleRange<int16_t> range = kEmptyInt16Range;
};
template <> struct Empty<float> {
    static constexpr SampleRange<float> range = kEmptyFloatRange;
};

/// Folds the lanes onto the first kKept of them: ranges[k] takes in the lanes k, k + kKept, k + 2 * kKept,
/// ...
template <size_t kLanes, size_t kKept, typename Sample>
VELLORIA_KERNEL void foldLanes(const Sample* low, const Sample* high, SampleRange<Sample>* ranges)
{
    for (size_t kept = 0; kept < kKept; ++kept) {
        SampleRange<Sample> range = {low[kept], high[kept]};
        for (size_t lane = kept + kKept; lane < kLanes; lane += kKept)
            range.fold({low[lane], high[lane]});
        ranges[kept] = range;
    }
}

#if VELLORIA_AVX2_VARIANTS
// With an entry for every 512 samples this step counts as much as the loop before it, and compilers make
// scalar code of it.
template <size_t kLanes, size_t kKept>
requires(kKept <= 2) VELLORIA_KERNEL
    void foldLanes(const int16_t* low, const int16_t* high, SampleRange<int16_t>* ranges)
{
    const auto load = [](const int16_t* lanes) {
        return _mm_load_si128(reinterpret_cast<const __m128i*>(lanes));
    };
    __m128i min = load(low);
    __m128i max = load(high);
    for (size_t lane = 8; lane < kLanes; lane += 8) {
        min = _mm_min_epi16(min, load(low + lane));
        max = _mm_max_epi16(max, load(high + lane));
    }
    min = _mm_min_epi16(min, _mm_srli_si128(min, 8));
    max = _mm_max_epi16(max, _mm_srli_si128(max, 8));
    min = _mm_min_epi16(min, _mm_srli_si128(min, 4));
    max = _mm_max_epi16(max, _mm_srli_si128(max, 4));
    if constexpr (kKept == 1) {
        min = _mm_min_epi16(min, _mm_srli_si128(min, 2));
        max = _mm_max_epi16(max, _mm_srli_si128(max, 2));
    }
    const __m128i pairs = _mm_unpacklo_epi16(min, max);
    std::memcpy(ranges, &pairs, kKept * sizeof(SampleRange<int16_t>));
}

template <size_t kLanes, size_t kKept>
VELLORIA_KERNEL void foldLanes(const float* low, const float* high, SampleRange<float>* ranges)
{
    static_assert(kKept == 1);
    __m128 min = _mm_load_ps(low);
    __m128 max = _mm_load_ps(high);
    for (size_t lane = 4; lane < kLanes; lane += 4) {
        min = _mm_min_ps(min, _mm_load_ps(low + lane));
        max = _mm_max_ps(max, _mm_load_ps(high + lane));
    }
    min = _mm_min_ps(min, _mm_movehl_ps(min, min));
    max = _mm_max_ps(max, _mm_movehl_ps(max, max));
    min = _mm_min_ss(min, _mm_shuffle_ps(min, min, 1));
    max = _mm_max_ss(max, _mm_shuffle_ps(max, max, 1));
    ranges[0] = {_mm_cvtss_f32(min), _mm_cvtss_f32(max)};
}
#endif

/// The ranges of successive groups of numBlocks * kLanes samples: kKept of them a group, lane after lane.
template <typename Sample, size_t kLanes, size_t kKept> struct GroupsKernel {
    VELLORIA_KERNEL static void run(const Sample* samples, size_t numBlocks, size_t numGroups,
                                    SampleRange<Sample>* ranges)
    {
        for (size_t group = 0; group < numGroups; ++group, ranges += kKept) {
            alignas(64) Sample low[kLanes];
            alignas(64) Sample high[kLanes];
            std::fill_n(low, kLanes, Empty<Sample>::range.min);
            std::fill_n(high, kLanes, Empty<Sample>::range.max);
            for (size_t block = 0; block < numBlocks; ++block, samples += kLanes) {
                for (size_t lane = 0; lane < kLanes; ++lane) {
                    low[lane] = lesser(samples[lane], low[lane]);
                    high[lane] = greater(samples[lane], high[lane]);
                }
            }
            foldLanes<kLanes, kKept>(low, high, ranges);
        }
    }
};

VELLORIA_KERNEL void foldWideBlocks(const int16_t* samples, size_t numBlocks, size_t width,
                                    int16_t* __restrict low, int16_t* __restrict high)
{
    for (size_t block = 0; block < numBlocks; ++block, samples += width) {
        for (size_t lane = 0; lane < width; ++lane) {
            low[lane] = lesser(samples[lane], low[lane]);
            high[lane] = greater(samples[lane], high[lane]);
        }
    }
}

using Int16Range = SampleRange<int16_t>;
using FloatRange = SampleRange<float>;

template <size_t kChannels>
void groupsOfChannels(const int16_t* samples, size_t numBlocks, size_t numGroups, Int16Range* ranges)
{
    runKernel<GroupsKernel<int16_t, kInt16Lanes, kChannels>>(samples, numBlocks, numGroups, ranges);
}

/// For a channel count that divides the lanes, so that each lane holds samples of one channel only.
void groupsOfLanes(const int16_t* samples, size_t numChannels, size_t numBlocks, size_t numGroups,
                   Int16Range* ranges)
{
    switch (numChannels) {
    case 1:
        return groupsOfChannels<1>(samples, numBlocks, numGroups, ranges);
    case 2:
        return groupsOfChannels<2>(samples, numBlocks, numGroups, ranges);
    case 4:
        return groupsOfChannels<4>(samples, numBlocks, numGroups, ranges);
    case 8:
        return groupsOfChannels<8>(samples, numBlocks, numGroups, ranges);
    case 16:
        return groupsOfChannels<16>(samples, numBlocks, numGroups, ranges);
    default:
        return groupsOfChannels<32>(samples, numBlocks, numGroups, ranges);
    }
}

void groupsOfFloats(const float* samples, size_t numBlocks, size_t numGroups, FloatRange* ranges)
{
    runKernel<GroupsKernel<float, kFloatLanes, 1>>(samples, numBlocks, numGroups, ranges);
}

template <typename Sample> void foldSample(SampleRange<Sample>& range, Sample sample)
{
    range.min = lesser(sample, range.min);
    range.max = greater(sample, range.max);
}

/// Frames that were folded: all but a remainder of less than kWideFrames.
size_t foldWide(const int16_t* frames, size_t numFrames, size_t numChannels, Int16Range* ranges)
{
    std::array<int16_t, kWideFrames * kMaxWideChannels> low;
    std::array<int16_t, kWideFrames * kMaxWideChannels> high;
    const size_t width = kWideFrames * numChannels;
    std::fill_n(low.begin(), width, kEmptyInt16Range.min);
    std::fill_n(high.begin(), width, kEmptyInt16Range.max);
    const size_t numBlocks = numFrames / kWideFrames;
    foldWideBlocks(frames, numBlocks, width, low.data(), high.data());
    for (size_t frame = 0; frame < kWideFrames; ++frame) {
        for (size_t channel = 0; channel < numChannels; ++channel)
            ranges[channel].fold({low[frame * numChannels + channel], high[frame * numChannels + channel]});
    }
    return numBlocks * kWideFrames;
}

} // namespace

SampleRange<int16_t> range(const int16_t* samples, size_t count)
{
    Int16Range result = kEmptyInt16Range;
    foldInterleaved(samples, count, 1, &result);
    return result;
}

SampleRange<float> range(const float* samples, size_t count)
{
    FloatRange result = kEmptyFloatRange;
    const size_t numBlocks = count / kFloatLanes;
    if (numBlocks > 0)
        groupsOfFloats(samples, numBlocks, 1, &result);
    for (size_t i = numBlocks * kFloatLanes; i < count; ++i)
        foldSample(result, samples[i]);
    return result;
}

SampleRange<int16_t> rangeOfPairs(const int16_t* pairs, size_t numPairs)
{
    Int16Range ranges[2] = {kEmptyInt16Range, kEmptyInt16Range};
    foldInterleaved(pairs, numPairs, 2, ranges);
    return {ranges[0].min, ranges[1].max};
}

void foldInterleaved(const int16_t* frames, size_t numFrames, size_t numChannels,
                     SampleRange<int16_t>* ranges)
{
    size_t done = 0;
    if (kInt16Lanes % numChannels == 0) {
        const size_t numBlocks = numFrames * numChannels / kInt16Lanes;
        Int16Range folded[kInt16Lanes];
        if (numBlocks > 0) {
            groupsOfLanes(frames, numChannels, numBlocks, 1, folded);
            for (size_t channel = 0; channel < numChannels; ++channel)
                ranges[channel].fold(folded[channel]);
        }
        done = numBlocks * kInt16Lanes / numChannels;
    } else if (numChannels <= kMaxWideChannels && numFrames >= kWideFrames) {
        done = foldWide(frames, numFrames, numChannels, ranges);
    }
    for (size_t frame = done; frame < numFrames; ++frame) {
        for (size_t channel = 0; channel < numChannels; ++channel)
            foldSample(ranges[channel], frames[frame * numChannels + channel]);
    }
}

void rangesOfGroups(const int16_t* frames, size_t groupFrames, size_t numChannels, size_t numGroups,
                    SampleRange<int16_t>* ranges)
{
    const size_t groupSamples = groupFrames * numChannels;
    if (kInt16Lanes % numChannels == 0 && groupSamples % kInt16Lanes == 0)
        return groupsOfLanes(frames, numChannels, groupSamples / kInt16Lanes, numGroups, ranges);
    std::fill_n(ranges, numGroups * numChannels, kEmptyInt16Range);
    for (size_t group = 0; group < numGroups; ++group) {
        foldInterleaved(frames + group * groupSamples, groupFrames, numChannels, ranges);
        ranges += numChannels;
    }
}

void rangesOfGroups(const float* samples, size_t groupSamples, size_t numGroups, SampleRange<float>* ranges)
{
    if (groupSamples % kFloatLanes == 0)
        return groupsOfFloats(samples, groupSamples / kFloatLanes, numGroups, ranges);
    for (size_t group = 0; group < numGroups; ++group)
        ranges[group] = range(samples + group * groupSamples, groupSamples);
}

} // namespace velloria::SummaryKernels
