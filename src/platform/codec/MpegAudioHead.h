#pragma once

#include <cstdint>
#include <optional>

namespace velloria
{

/// The four bytes that each packet of MPEG audio begins with (ISO 11172-3 and 13818-3, 2.4.1.3; version 2.5
/// is the widespread extension to lower rates). A packet of free format, whose length they do not tell, is
/// none.
struct MpegAudioHead {
    /// All of them, the first byte on top.
    uint32_t bits = 0;
    int layer = 3;
    int sampleRate = 44100;
    /// Bits per second.
    int64_t bitRate = 128000;
    /// Of the packet, head included.
    int64_t packetBytes = 0;

    static constexpr int64_t numBytes = 4;
    static constexpr uint32_t lastBitRateIndex = 14;

    static std::optional<MpegAudioHead> of(uint32_t bits);
    static std::optional<MpegAudioHead> read(const uint8_t* bytes);

    /// The same with another of the standard bit rates (1 to lastBitRateIndex, rising) and without padding.
    MpegAudioHead withBitRateIndex(uint32_t index) const;

    uint32_t bitRateIndex() const { return bits >> 12 & 15; }
    /// 0 stereo, 1 joint stereo, 2 two independent channels, 3 mono.
    uint32_t mode() const { return bits >> 6 & 3; }
    bool isMono() const { return mode() == 3; }
    bool isVersion1() const { return (bits >> 19 & 3) == 3; }
    bool hasChecksum() const { return (bits >> 16 & 1) == 0; }

    // Of Layer III.
    int64_t framesPerPacket() const { return isVersion1() ? 1152 : 576; }
    int64_t sideInfoBytes() const;
    /// Head, checksum and side information; behind them is the packet's share of the main data.
    int64_t bytesBeforeMainData() const { return numBytes + (hasChecksum() ? 2 : 0) + sideInfoBytes(); }
    int64_t mainDataBytes() const { return packetBytes - bytesBeforeMainData(); }
    /// How far before its share of them a packet's own main data may begin.
    int64_t longestReservoir() const { return isVersion1() ? 511 : 255; }
};

/// The highest byte first, as MPEG has it.
inline uint32_t bigEndian32(const uint8_t* bytes)
{
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

} // namespace velloria
