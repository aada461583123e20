#pragma once

#include "effects/delay/CircularBuffer.h"
#include "effects/delay/InterpolationTaps.h"

#include <optional>

namespace velloria
{

/// A delay line that is read between its values.
class CircularInterpolatedBuffer : public CircularBuffer
{
public:
    using CircularBuffer::CircularBuffer;

    /// `position` counts frames from the mark back and is 0 or less. Further back than the line is long, the
    /// read goes round it once more. 0 from an empty line.
    float getFloatValueAtInterpolatedPosition(float position) const;

    /// For each read, reads the line, puts the sample in and mixes the two in its place.
    void process(const InterpolationTaps& taps, std::span<float> samples, double wetFactor, double dryFactor);

private:
    /// What some reads take, in the order in which it is put in: from `start` on, counted from the mark
    /// before the first of them.
    struct Stretch {
        int32_t start;
        int32_t end;
    };

    std::optional<Stretch> stretchOf(const InterpolationTaps& taps) const;
    void copyStretch(const Stretch& stretch, std::span<const float> samples);
    void put(std::span<const float> samples);
    float read(const InterpolationTaps& taps, size_t index) const;

    std::vector<float> mStretch;
};

} // namespace velloria
