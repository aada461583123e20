#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace velloria
{

/// Where and with which weights a delay line is read between its values, for a run of reads: five or six
/// neighbours each, weighted by a windowed sinc from tables of 1024 entries. Lines that are read at the same
/// places share it.
class InterpolationTaps
{
public:
    static constexpr size_t kMostReads = 256;
    static constexpr size_t kMostTaps = 6;

    /// Positions count frames from the mark back and are 0 or less; no more than kMostReads.
    void set(std::span<const float> positions);

    /// The first slot of a read, from the mark; the others follow it.
    int32_t firstSlot(size_t read) const
    {
        // The tap of a distance reads the slot one further: that is where a delay of nothing lies.
        return mFirsts[read] + 1;
    }

    /// The first slots of all reads, which are at least one: counted from the mark as it is when each is
    /// read, and as it is before the first one, when the mark goes on by one slot a read.
    struct Extent {
        int32_t lowestSlot;
        int32_t highestSlot;
        int32_t lowestPlace;
        int32_t highestPlace;
    };
    Extent extent() const;

    /// The number of reads from `read` on whose first slots are the same.
    size_t numReadsAlike(size_t read) const;
    /// For `samples.size()` of these reads, each of which takes kMostTaps values from one further than that
    /// of the one before, mixes what is read with the sample in whose place the mix goes.
    void mix(size_t read, const float* values, std::span<float> samples, double wetFactor,
             double dryFactor) const;
    size_t numReads() const { return mNumReads; }

    /// Of kMostTaps values.
    float weightedSum(size_t read, const float* values) const
    {
        float sum = 0.0F;
        for (size_t tap = 0; tap < kMostTaps; ++tap)
            sum += mWeights[tap][read] * values[tap];
        return sum;
    }

private:
    size_t mNumReads = 0;
    std::array<int32_t, kMostReads> mFirsts;
    /// The last tap has none where five are used.
    std::array<std::array<float, kMostReads>, kMostTaps> mWeights;
};

} // namespace velloria
