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
    /// Of sound that was computed: the widest integers and the widest floats that it was computed from.
    int64_t integerBitsBefore = 0;
    int64_t floatBitsBefore = 0;

    /// The width of integers; 0 for all else.
    int64_t integerBits() const { return isFloat ? 0 : bits; }
    /// The width of floats; 0 for all else.
    int64_t floatBits() const { return isFloat ? bits : 0; }
};

} // namespace velloria
