#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace velloria
{

/// The checksums of FLAC frames. Source: https://www.rfc-editor.org/rfc/rfc9639#section-9.1.8 and 9.3
namespace FlacChecksums
{

/// Of a head.
uint8_t crc8(std::span<const std::byte> bytes);

/// Of a whole frame. `before` is the sum of what stands in front of these bytes; over a frame with its sum it
/// is 0.
uint16_t crc16(uint16_t before, std::span<const std::byte> bytes);

} // namespace FlacChecksums

} // namespace velloria
