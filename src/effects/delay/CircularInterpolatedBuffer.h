#pragma once

#include "effects/delay/CircularBuffer.h"

namespace velloria
{

/// A delay line that is read between its values: five or six neighbours, weighted by a windowed sinc from
/// tables of 1024 entries.
class CircularInterpolatedBuffer : public CircularBuffer
{
public:
    using CircularBuffer::CircularBuffer;

    /// `position` counts frames from the mark back and is 0 or less. Further back than the line is long, the
    /// read goes round it once more. 0 from an empty line.
    float getFloatValueAtInterpolatedPosition(float position) const;

    /// Reads at each position, puts the sample in and mixes the two in its place.
    void process(std::span<const float> positions, std::span<float> samples, double wetFactor,
                 double dryFactor);
};

} // namespace velloria
