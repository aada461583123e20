#include "effects/delay/CircularInterpolatedBuffer.h"

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

void CircularInterpolatedBuffer::process(const InterpolationTaps& taps, std::span<float> samples,
                                         double wetFactor, double dryFactor)
{
    for (size_t i = 0; i < samples.size(); ++i) {
        const double wet = read(taps, i);
        const float dry = samples[i];
        putFloatValue(dry);
        samples[i] = static_cast<float>(wet * wetFactor + static_cast<double>(dry) * dryFactor);
    }
}

} // namespace velloria
