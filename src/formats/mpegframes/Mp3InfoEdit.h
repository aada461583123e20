#pragma once

#include "platform/codec/MpegAudioHead.h"

#include <QByteArray>
#include <array>
#include <optional>

namespace velloria
{

/// The packet in front of an MP3 file's sound that tells players what they cannot know from the packets: how
/// many there are, and where in them the sound begins and ends. Layouts: the Xing header ("Xing" or "Info"),
/// the one of Fraunhofer's encoders ("VBRI"), and the extension of
/// http://gabriel.mp3-tech.org/mp3infotag.html.
namespace Mp3InfoEdit
{

/// Frames that every decoder adds in front, which the notes do not count.
constexpr int64_t decoderDelay = 529;
/// What the fields of delay and padding can hold.
constexpr int64_t longestDelay = 4095;

/// As FFmpeg takes it: one that counts the packets or the bytes.
bool isInfoPacket(const QByteArray& packet);

struct Notes {
    int64_t delay = 0;
    int64_t padding = 0;
    /// 0 where it is not told.
    int64_t numPackets = 0;
};
/// Nothing where there are none, or of a program whose notes readers do not believe.
std::optional<Notes> notesOf(const QByteArray& packet);

/// What is told of new packets.
struct Figures {
    int64_t delay = 0;
    int64_t padding = 0;
    int64_t numPackets = 0;
    /// Of the packets, without this one.
    int64_t numBytes = 0;
    /// Mp3InfoPacket::checksumOf() them.
    uint16_t checksum = 0;
    /// Where each hundredth of the time begins, in 256ths of all bytes.
    std::array<uint8_t, 100> seekTable = {};
};
/// The packet with these figures in place of its own, all else as it was; a new one for a stream with such
/// heads where it has no place for them all. Its size does not depend on the figures.
QByteArray withFigures(const QByteArray& packet, const MpegAudioHead& head, const Figures& figures);

} // namespace Mp3InfoEdit

} // namespace velloria
