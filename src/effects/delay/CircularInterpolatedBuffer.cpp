#include "effects/delay/CircularInterpolatedBuffer.h"

#include <algorithm>
#include <array>

namespace velloria
{

float CircularInterpolatedBuffer::getFloatValueAtInterpolatedPosition(float position) const
{
    InterpolationTaps taps;
    taps.set({&position, 1});
    return read(taps, 0);
}

float CircularInterpolatedBuffer::read(const InterpolationTaps& taps, size_t index) const
{
    constexpr size_t kMostTaps = InterpolationTaps::kMostTaps;
    const int32_t limit = numFrames();
    if (limit == 0)
        return 0.0F;
    int32_t slot = mark() + taps.firstSlot(index);
    if (slot < 0)
        slot += limit;
    if (slot < 0 || slot >= limit)
        slot = (slot % limit + limit) % limit;
    const float* const values = data().data();
    if (slot + static_cast<int32_t>(kMostTaps) <= limit)
        return taps.weightedSum(index, values + slot);
    std::array<float, kMostTaps> wrapped;
    for (float& value : wrapped) {
        value = values[slot];
        slot = slot + 1 == limit ? 0 : slot + 1;
    }
    return taps.weightedSum(index, wrapped.data());
}

/// Nothing where a read goes round the line, or where reads lie too far apart to be copied together.
std::optional<CircularInterpolatedBuffer::Stretch>
CircularInterpolatedBuffer::stretchOf(const InterpolationTaps& taps) const
{
    constexpr auto kNumTaps = static_cast<int32_t>(InterpolationTaps::kMostTaps);
    constexpr int32_t kLongest = 4 * static_cast<int32_t>(InterpolationTaps::kMostReads);
    const auto numReads = static_cast<int32_t>(taps.numReads());
    if (numReads == 0)
        return std::nullopt;
    const InterpolationTaps::Extent extent = taps.extent();
    if (extent.lowestSlot < -numFrames() || extent.highestSlot + kNumTaps > 0)
        return std::nullopt;
    const Stretch stretch = {extent.lowestPlace, extent.highestPlace + kNumTaps};
    return stretch.end - stretch.start <= kLongest ? std::optional(stretch) : std::nullopt;
}

void CircularInterpolatedBuffer::copyStretch(const Stretch& stretch, std::span<const float> samples)
{
    mStretch.resize(static_cast<size_t>(stretch.end - stretch.start));
    auto out = mStretch.begin();
    const std::span<const float> line = data();
    for (int32_t from = stretch.start; from < stretch.end;) {
        // Before the mark lies what was put in, wrapped; from the mark on what is to come.
        const int32_t slot = from < 0 ? mark() + from + (mark() + from < 0 ? numFrames() : 0) : 0;
        const std::span<const float> source =
            from < 0 ? line.subspan(static_cast<size_t>(slot)) : samples.subspan(static_cast<size_t>(from));
        const int32_t end = from < 0 ? std::min(stretch.end, 0) : stretch.end;
        const size_t count = std::min(source.size(), static_cast<size_t>(end - from));
        out = std::copy_n(source.begin(), count, out);
        from += static_cast<int32_t>(count);
    }
}

void CircularInterpolatedBuffer::put(std::span<const float> samples)
{
    while (!samples.empty()) {
        const std::span<float> slots = run(samples.size());
        std::copy_n(samples.begin(), slots.size(), slots.begin());
        advance(slots.size());
        samples = samples.subspan(slots.size());
    }
}

void CircularInterpolatedBuffer::process(const InterpolationTaps& taps, std::span<float> samples,
                                         double wetFactor, double dryFactor)
{
    if (const std::optional<Stretch> stretch = stretchOf(taps)) {
        copyStretch(*stretch, samples);
        put(samples);
        for (size_t i = 0; i < samples.size();) {
            const size_t count = taps.numReadsAlike(i);
            const float* const values =
                mStretch.data() + taps.firstSlot(i) + static_cast<int32_t>(i) - stretch->start;
            taps.mix(i, values, samples.subspan(i, count), wetFactor, dryFactor);
            i += count;
        }
        return;
    }
    for (size_t i = 0; i < samples.size(); ++i) {
        const double wet = read(taps, i);
        const float dry = samples[i];
        putFloatValue(dry);
        samples[i] = static_cast<float>(wet * wetFactor + static_cast<double>(dry) * dryFactor);
    }
}

} // namespace velloria
