#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace velloria
{

/// Turns samples from one byte order into the other, in place. Integers take the whole bytes that their size
/// in bits needs; up to 8 bits there is nothing to turn. Sizes that no sample has (33 to 63 bits, and more
/// than 64) become zeros. Bytes behind the last whole sample stay. With 64 bits it goes on by four bytes, not
/// by eight, and so is of no use for samples of that size: they go through endianSwapDoubles().
void endianSwapData(std::span<std::byte> samples, int64_t sampleSizeBits);

/// The same for samples of 64 bits, one after the other.
void endianSwapDoubles(std::span<std::byte> samples);

} // namespace velloria
