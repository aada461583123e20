#pragma once

#include "platform/FileHandle.h"

#include <optional>
#include <vector>

namespace velloria
{

/// Sound streams that stand in a file without a container around them: packets one after the other, each with
/// a head that begins with a synchronisation word. A head alone proves nothing, as its bits turn up by chance
/// in any data; what is looked for is a row of heads that agree, each where the packet before it ends.
namespace ElementaryStreams
{

/// Where the file begins behind any ID3v2 tags.
int64_t lengthOfLeadingTags(const FileHandle& handle);

struct MpegAudioStart {
    int64_t offset = 0;
    /// There are one or two packets.
    bool isShort = false;
};
/// Where MPEG audio (Layer I, II or III) begins, behind tags or up to a megabyte of anything else; nothing
/// when there is none.
std::optional<MpegAudioStart> startOfMpegAudio(const FileHandle& handle);

/// How long the packet with this head is, of MPEG audio or else of AAC; nothing where the head does not tell.
std::optional<int64_t> bytesOfPacket(const QByteArray& head, bool isMpegAudio);
/// How many packets of MPEG audio follow, as the first one of many files tells; nothing where it does not.
std::optional<int64_t> numMpegPacketsTold(const FileHandle& handle);

/// A Layer III packet of nothing but zeros behind its head: the smallest that has a standard bit rate of at
/// least so many bits per second and at least so many bytes. Empty for a rate that the format does not have.
QByteArray emptyLayer3Packet(int sampleRate, bool isMono, int64_t bitRate, int64_t numBytes);

/// A part of a stream.
struct Stretch {
    enum class Kind {
        packets,
        /// The head of a packet, and what there is of it.
        cutPacket,
        other
    };
    Kind kind = Kind::other;
    int64_t offset = 0;
    int64_t length = 0;
};
/// What the heads of MPEG packets tell beside the sound. The first packet often holds the encoder's notes
/// instead of sound, so it counts only where it is alone.
struct MpegPacketTraits {
    bool hasVariableBitRate = false;
    /// Two channels that have nothing to do with one another, as two languages.
    bool hasIndependentChannels = false;
    bool hasChecksums = false;
    bool isPrivate = false;
    bool isCopyrighted = false;
    bool isCopy = false;
};
/// Which bytes from `start` to before `end` are packets of one stream of MPEG audio or else of AAC, and which
/// are not; in order, without gaps.
std::vector<Stretch> stretches(const FileHandle& handle, int64_t start, int64_t end, bool isMpegAudio,
                               MpegPacketTraits* traits = nullptr);

/// True when the file begins, behind any tags, with AAC in ADTS packets.
bool isAdts(const FileHandle& handle);

} // namespace ElementaryStreams

} // namespace velloria
