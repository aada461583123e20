#pragma once

#include <cstdint>

namespace velloria
{

/// Blocks that other programs put in for their own use, and that hang on what is written.
struct FlacExtras {
    bool hasSeekTable = false;
    /// Bytes that are kept free for tags.
    int64_t paddingLength = 0;
};

} // namespace velloria
