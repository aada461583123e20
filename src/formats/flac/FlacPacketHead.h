#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace velloria
{

/// The head of a packet of FLAC, which the format calls a frame; frames are those of the sound here.
/// Source: https://www.rfc-editor.org/rfc/rfc9639#section-9.1
struct FlacPacketHead {
    /// What the number counts: frames of the sound, or packets of a file whose packets are of one length.
    bool countsFrames = false;
    int64_t number = 0;
    /// Frames of the sound in the packet.
    int64_t numFrames = 0;
    /// Bytes with the checksum, and those of the number among them.
    size_t length = 0;
    size_t numberLength = 0;

    static constexpr size_t longestLength = 16;
    static constexpr size_t sumLength = 2;
    /// Of a stream's packets; only the last one may be shorter.
    static constexpr int64_t leastFrames = 16;
    static constexpr int64_t mostFrames = 65535;

    /// Nothing where no head with a right checksum stands.
    static std::optional<FlacPacketHead> parse(std::span<const std::byte> bytes);

    /// Appends the packet, which begins with this head, with another number and the sums that belong to it;
    /// its sound stays as it is, byte for byte.
    void appendRenumbered(std::span<const std::byte> packet, bool countingFrames, int64_t newNumber,
                          std::vector<std::byte>& out) const;
};

} // namespace velloria
