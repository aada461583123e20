#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace velloria
{

/// Turns samples from one byte order into the other, in place. Integers take the whole bytes that their size
/// in bits needs; up to 8 bits there is nothing to turn. Sizes that no sample has (33 to 63 bits, and more
/// than 64) become zeros. Bytes behind the last whole sample stay.
void endianSwapData(std::span<std::byte> samples, int64_t sampleSizeBits);

} // namespace velloria
