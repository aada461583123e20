#pragma once

#include <cstdint>

namespace velloria
{

/// What the samples of a clip were in the file that they come from, before they became floats.
struct StoredSamples {
    /// Their width; 0 for sound that was computed, and for encodings whose samples have none.
    int64_t bits = 0;
    bool isFloat = false;
    /// Decoded from an encoding that loses some of the sound.
    bool isLossy = false;

    /// The width of integers; 0 for all else.
    int64_t integerBits() const { return isFloat ? 0 : bits; }
};

} // namespace velloria
