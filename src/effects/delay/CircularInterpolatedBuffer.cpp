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

float weight(const Table& filters, const Table& windows, float distance)
{
    const float magnitude = std::fabs(distance);
    // Two scales, as the tables are read: their last digits differ.
    const auto inFilter = static_cast<int32_t>(magnitude * 1023.0F * 0.36363637F);
    const auto inWindow = static_cast<int32_t>(2.0F * magnitude * 0.18181819F * 1023.0F);
    return filters[static_cast<size_t>(std::min(inFilter, kLastEntry))] *
           windows[static_cast<size_t>(std::min(inWindow, kLastEntry))];
}

} // namespace

float CircularInterpolatedBuffer::getFloatValueAtInterpolatedPosition(float position) const
{
    const int32_t limit = numFrames();
    if (limit == 0)
        return 0.0F;
    const Table& filters = filter();
    const Table& windows = window();
    const float lowest = position - kHalfWidth;
    // Truncation rounds up what is below zero, and is an instruction where rounding is a call.
    const auto first = static_cast<int32_t>(lowest);
    const float highest = lowest + kWidth;
    auto last = static_cast<int32_t>(highest);
    last -= highest < static_cast<float>(last) ? 1 : 0;

    // The tap of a distance reads the slot one further: that is where a delay of nothing lies.
    int32_t slot = mark() + first + 1;
    if (slot < 0)
        slot += limit * ((-slot + limit - 1) / limit);
    else if (slot >= limit)
        slot %= limit;
    float distance = static_cast<float>(first) - position;
    float sum = 0.0F;
    for (int32_t tap = first; tap <= last; ++tap) {
        sum += weight(filters, windows, distance) * data()[static_cast<size_t>(slot)];
        distance += 1.0F;
        if (++slot == limit)
            slot = 0;
    }
    return sum;
}

} // namespace velloria
