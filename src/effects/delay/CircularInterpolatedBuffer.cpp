#include "effects/delay/CircularInterpolatedBuffer.h"

#include "effects/frame/Filter.h"

#include <array>
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

const Table& window()
{
    static const Table table = makeWindow();
    return table;
}

const Table& filter()
{
    static const Table table = makeFilter();
    return table;
}

/// Five or six are used. As many as two vector registers hold are computed, because the compiler does that in
/// no more steps.
constexpr size_t kNumLanes = 8;
constexpr size_t kMostTaps = 6;

/// Where the taps of one read find their weights in the tables.
struct TapEntries {
    std::array<int32_t, kNumLanes> inFilter;
    std::array<int32_t, kNumLanes> inWindow;

    explicit TapEntries(float firstDistance)
    {
        constexpr float kOffsets[kNumLanes] = {0, 1, 2, 3, 4, 5, 6, 7};
        for (size_t tap = 0; tap < kNumLanes; ++tap) {
            const float magnitude = std::fabs(firstDistance + kOffsets[tap]);
            // Two scales, as the tables are read: their last digits differ.
            inFilter[tap] = static_cast<int32_t>(magnitude * 1023.0F * 0.36363637F);
            inWindow[tap] = static_cast<int32_t>(2.0F * magnitude * 0.18181819F * 1023.0F);
        }
    }
};

/// Where a read begins and how many values it takes.
struct Taps {
    int32_t first;
    size_t count;
    float firstDistance;

    explicit Taps(float position)
    {
        const float lowest = position - kHalfWidth;
        const float highest = lowest + kWidth;
        // Truncation rounds up what is below zero, and is an instruction where rounding is a call.
        first = static_cast<int32_t>(lowest);
        auto last = static_cast<int32_t>(highest);
        last -= highest < static_cast<float>(last) ? 1 : 0;
        count = static_cast<size_t>(last - first) + 1;
        firstDistance = static_cast<float>(first) - position;
    }
};

float weightedSum(const float* values, const Taps& taps)
{
    static const Table& filters = filter();
    static const Table& windows = window();
    const TapEntries entries(taps.firstDistance);
    const auto product = [&](size_t tap) {
        const auto inFilter = static_cast<size_t>(std::min(entries.inFilter[tap], kLastEntry));
        const auto inWindow = static_cast<size_t>(std::min(entries.inWindow[tap], kLastEntry));
        return filters[inFilter] * windows[inWindow] * values[tap];
    };
    float sum = 0.0F;
    for (size_t tap = 0; tap < kMostTaps - 1; ++tap)
        sum += product(tap);
    return taps.count == kMostTaps ? sum + product(kMostTaps - 1) : sum;
}

} // namespace

float CircularInterpolatedBuffer::getFloatValueAtInterpolatedPosition(float position) const
{
    const int32_t limit = numFrames();
    if (limit == 0)
        return 0.0F;
    const Taps taps(position);
    // The tap of a distance reads the slot one further: that is where a delay of nothing lies.
    int32_t slot = mark() + taps.first + 1;
    if (slot < 0)
        slot += limit;
    if (slot < 0 || slot >= limit)
        slot = (slot % limit + limit) % limit;
    const float* const values = data().data();
    if (slot + static_cast<int32_t>(kMostTaps) <= limit)
        return weightedSum(values + slot, taps);
    std::array<float, kMostTaps> wrapped;
    for (float& value : wrapped) {
        value = values[slot];
        slot = slot + 1 == limit ? 0 : slot + 1;
    }
    return weightedSum(wrapped.data(), taps);
}

void CircularInterpolatedBuffer::process(std::span<const float> positions, std::span<float> samples,
                                         double wetFactor, double dryFactor)
{
    for (size_t i = 0; i < samples.size(); ++i) {
        const double wet = getFloatValueAtInterpolatedPosition(positions[i]);
        const float dry = samples[i];
        putFloatValue(dry);
        samples[i] = static_cast<float>(wet * wetFactor + static_cast<double>(dry) * dryFactor);
    }
}

} // namespace velloria
