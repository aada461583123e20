#include "effects/delay/InterpolationTaps.h"

#include "effects/frame/Filter.h"
#include "platform/VectorTarget.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velloria
{

namespace
{

constexpr size_t kNumEntries = 1024;
constexpr int32_t kLastEntry = 1023;
/// The sinc reaches so far to both sides.
constexpr float kHalfWidth = 2.75F;
constexpr float kWidth = 5.5F;

using Table = std::array<float, kNumEntries>;
/// Sinc times window: entry by entry, and with the window's entry one before and one behind the sinc's. A
/// last place has no weight.
using Products = std::array<float, 3 * kNumEntries + 1>;
constexpr int32_t kNoWeight = 3 * kNumEntries;

/// The right half of the window, from its centre to its edge.
Table makeWindow()
{
    Table table;
    for (size_t i = 0; i < kNumEntries; ++i)
        table[i] =
            static_cast<float>(Filter::blackmanWindowAtPosition(static_cast<double>(i) / 2046.0 + 0.5));
    return table;
}

Table makeFilter()
{
    Table table;
    table[0] = 1.0F / kWidth;
    for (size_t i = 1; i < kNumEntries; ++i) {
        const auto x = static_cast<float>(static_cast<double>(i) * std::numbers::pi / kLastEntry);
        table[i] = std::sin(x) / (kWidth * x);
    }
    return table;
}

Products makeProducts()
{
    const Table filters = makeFilter();
    const Table windows = makeWindow();
    Products products{};
    for (size_t i = 0; i < kNumEntries; ++i)
        for (size_t near = 0; near < 3; ++near)
            products[3 * i + near] = filters[i] * windows[std::clamp<size_t>(i + near, 1, kNumEntries) - 1];
    return products;
}

/// Of each read the first of its neighbours, from the mark, how far that lies from it, and whether there are
/// six.
struct FirstKernel {
    VELLORIA_KERNEL static void run(const float* positions, size_t count, int32_t* __restrict firsts,
                                    float* __restrict distances, int32_t* __restrict haveSix)
    {
        for (size_t i = 0; i < count; ++i) {
            const float lowest = positions[i] - kHalfWidth;
            // Truncation rounds up what is below zero, and is an instruction where rounding is a call.
            const auto first = static_cast<int32_t>(lowest);
            const float highest = lowest + kWidth;
            const auto truncated = static_cast<int32_t>(highest);
            const int32_t last = highest < static_cast<float>(truncated) ? truncated - 1 : truncated;
            firsts[i] = first;
            distances[i] = static_cast<float>(first) - positions[i];
            haveSix[i] = first + 5 <= last ? 1 : 0;
        }
    }
};

/// Where the product for a neighbour stands that lies `tap` frames behind the first one.
struct EntryKernel {
    VELLORIA_KERNEL static void run(const float* distances, size_t count, float tap,
                                    int32_t* __restrict entries)
    {
        for (size_t i = 0; i < count; ++i) {
            const float distance = std::fabs(distances[i] + tap);
            // Two scales, as the tables are read: their last digits differ.
            const auto inFilter = static_cast<int32_t>(distance * 1023.0F * 0.36363637F);
            const auto inWindow = static_cast<int32_t>(2.0F * distance * 0.18181819F * 1023.0F);
            const int32_t lastFilter = inFilter < kLastEntry ? inFilter : kLastEntry;
            const int32_t lastWindow = inWindow < kLastEntry ? inWindow : kLastEntry;
            entries[i] = 2 * lastFilter + lastWindow + 1;
        }
    }
};

/// A sixth neighbour that there is not has no weight; five there are always.
struct SixthKernel {
    VELLORIA_KERNEL static void run(const int32_t* haveSix, size_t count, int32_t* __restrict entries)
    {
        for (size_t i = 0; i < count; ++i)
            entries[i] = haveSix[i] != 0 ? entries[i] : kNoWeight;
    }
};

struct ExtentKernel {
    VELLORIA_KERNEL static void run(const int32_t* firsts, size_t count, InterpolationTaps::Extent* extent)
    {
        int32_t lowestSlot = INT32_MAX;
        int32_t highestSlot = INT32_MIN;
        int32_t lowestPlace = INT32_MAX;
        int32_t highestPlace = INT32_MIN;
        for (size_t i = 0; i < count; ++i) {
            const int32_t slot = firsts[i] + 1;
            const int32_t place = slot + static_cast<int32_t>(i);
            lowestSlot = slot < lowestSlot ? slot : lowestSlot;
            highestSlot = slot > highestSlot ? slot : highestSlot;
            lowestPlace = place < lowestPlace ? place : lowestPlace;
            highestPlace = place > highestPlace ? place : highestPlace;
        }
        *extent = {lowestSlot, highestSlot, lowestPlace, highestPlace};
    }
};

/// One row of weights for each tap.
struct MixKernel {
    VELLORIA_KERNEL static void run(const float* weights, const float* values, float* __restrict samples,
                                    size_t count, double wetFactor, double dryFactor)
    {
        for (size_t i = 0; i < count; ++i) {
            float sum = 0.0F;
            for (size_t tap = 0; tap < InterpolationTaps::kMostTaps; ++tap)
                sum += weights[tap * InterpolationTaps::kMostReads + i] * values[i + tap];
            samples[i] = static_cast<float>(static_cast<double>(sum) * wetFactor +
                                            static_cast<double>(samples[i]) * dryFactor);
        }
    }
};

} // namespace

InterpolationTaps::Extent InterpolationTaps::extent() const
{
    Extent extent{};
    runKernel<ExtentKernel>(mFirsts.data(), mNumReads, &extent);
    return extent;
}

size_t InterpolationTaps::numReadsAlike(size_t read) const
{
    size_t end = read + 1;
    while (end < mNumReads && mFirsts[end] == mFirsts[read])
        ++end;
    return end - read;
}

void InterpolationTaps::mix(size_t read, const float* values, std::span<float> samples, double wetFactor,
                            double dryFactor) const
{
    runKernel<MixKernel>(mWeights.front().data() + read, values, samples.data(), samples.size(), wetFactor,
                         dryFactor);
}

void InterpolationTaps::set(std::span<const float> positions)
{
    static const Products products = makeProducts();
    const size_t count = positions.size();
    mNumReads = count;
    std::array<float, kMostReads> distances;
    std::array<int32_t, kMostReads> haveSix;
    std::array<int32_t, kMostReads> entries;
    runKernel<FirstKernel>(positions.data(), count, mFirsts.data(), distances.data(), haveSix.data());
    for (size_t tap = 0; tap < kMostTaps; ++tap) {
        runKernel<EntryKernel>(static_cast<const float*>(distances.data()), count, static_cast<float>(tap),
                               entries.data());
        if (tap + 1 == kMostTaps)
            runKernel<SixthKernel>(static_cast<const int32_t*>(haveSix.data()), count, entries.data());
        for (size_t i = 0; i < count; ++i)
            mWeights[tap][i] = products[static_cast<size_t>(entries[i])];
    }
}

} // namespace velloria
