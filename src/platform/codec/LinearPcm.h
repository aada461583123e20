#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace velloria
{

/// How one sample of linear PCM is stored.
struct LinearPcmLayout {
    uint32_t bytesPerSample = 0; // integers: 1 to 4; floats: 4 or 8
    bool isFloat = false;
    bool isBigEndian = false;
    bool isSigned = true;
};

/// A run of interleaved linear PCM in a file.
struct LinearPcmRun {
    LinearPcmLayout layout;
    int64_t offset = 0;   // bytes
    int64_t numBytes = 0; // whole frames
};

/// Interleaved stored samples as floats, one buffer a channel: integers divided by 2^(bits - 1), to the
/// nearest float; floats as they are, 64-bit ones narrowed. `in` holds numFrames x channels.size() samples.
void linearPcmToFloats(std::span<const std::byte> in, const LinearPcmLayout& layout, int64_t numFrames,
                       std::span<float* const> channels);

} // namespace velloria
