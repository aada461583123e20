#pragma once

#include <QByteArray>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace velloria
{

/// The packet in front of the sound of an MP3 file that tells players where the sound begins and ends within
/// the packets. It looks like a packet of silence to whoever does not know it. Layout: "Info" as in the Xing
/// header, then the extension of http://gabriel.mp3-tech.org/mp3infotag.html.
struct Mp3InfoPacket {
    /// The program that encoded, at most nine characters; players only believe those that they know.
    QByteArray encoder;
    int sampleRate = 44100;
    /// Of the sound before it was encoded.
    int inputRate = 44100;
    bool isMono = false;
    /// Bits per second.
    int64_t bitRate = 128000;
    /// In Hz.
    int lowpass = 0;
    /// Of the sound, without this packet.
    int64_t numPackets = 0;
    int64_t numBytes = 0;
    /// checksumOf() the sound's bytes.
    uint16_t checksum = 0;
    /// Frames that the encoder put before the sound and behind it. The decoder's own delay of 529 frames is
    /// not counted in the first, but in the second.
    int64_t delay = 576;
    int64_t padding = 0;
    /// Where each hundredth of the time begins, in 256ths of all bytes; of a constant bit rate without one.
    std::optional<std::array<uint8_t, 100>> seekTable;

    /// Its size depends on the rates and channels only. Empty for a rate that the format does not have.
    QByteArray bytes() const;

    /// The CRC-16 of the extension over more bytes, beginning with 0.
    static uint16_t checksumOf(std::span<const std::byte> bytes, uint16_t sum = 0);
};

} // namespace velloria
