#include "formats/mpegframes/Mp3InfoEdit.h"

#include "platform/codec/Mp3InfoPacket.h"

#include <algorithm>

namespace velloria::Mp3InfoEdit
{

namespace
{

constexpr uint32_t hasCount = 1;
constexpr uint32_t hasBytes = 2;
constexpr uint32_t hasSeekTable = 4;
constexpr uint32_t hasQuality = 8;
constexpr uint32_t hasAll = 15;
constexpr int64_t seekTableBytes = 100;
constexpr int64_t extensionBytes = 36;
// Within the extension.
constexpr int64_t delayOffset = 21;
constexpr int64_t lengthOffset = 28;

uint32_t numberAt(const QByteArray& bytes, int64_t offset)
{
    return bigEndian32(reinterpret_cast<const uint8_t*>(bytes.constData()) + offset);
}

void put(QByteArray& bytes, qsizetype offset, int64_t value, int numBytes)
{
    for (int i = numBytes - 1; i >= 0; --i, ++offset)
        bytes[offset] = static_cast<char>(value >> (8 * i));
}

/// Where the parts of a Xing header lie.
struct Places {
    uint32_t flags = 0;
    int64_t count = 0;
    int64_t extension = 0;
    /// It is whole, and of a program that readers believe.
    bool hasExtension = false;
};

/// A checksum behind the head is not counted, as encoders and readers have agreed.
std::optional<Places> placesIn(const QByteArray& packet)
{
    constexpr int64_t shortest = 8;
    const auto head = packet.size() > MpegAudioHead::numBytes
                          ? MpegAudioHead::read(reinterpret_cast<const uint8_t*>(packet.constData()))
                          : std::nullopt;
    if (!head)
        return std::nullopt;
    const int64_t start = MpegAudioHead::numBytes + head->sideInfoBytes();
    const QByteArray name = packet.mid(start, 4);
    if ((name != "Xing" && name != "Info") || packet.size() < start + shortest)
        return std::nullopt;
    Places places;
    places.flags = numberAt(packet, start + 4);
    places.count = start + shortest;
    places.extension = places.count;
    for (const uint32_t field : {hasCount, hasBytes, hasQuality})
        places.extension += (places.flags & field) ? 4 : 0;
    places.extension += (places.flags & hasSeekTable) ? seekTableBytes : 0;
    const QByteArray program = packet.mid(places.extension, 4);
    places.hasExtension = packet.size() >= places.extension + extensionBytes &&
                          (program == "LAME" || program == "Lavf" || program == "Lavc");
    return places;
}

bool isFraunhofers(const QByteArray& packet)
{
    constexpr int64_t start = 36;
    return packet.mid(start, 6) == QByteArray("VBRI\0\1", 6);
}

QByteArray newPacket(const MpegAudioHead& head, const Figures& figures)
{
    Mp3InfoPacket packet;
    // Players believe no other name.
    packet.encoder = "LAME3.100";
    packet.sampleRate = head.sampleRate;
    packet.inputRate = head.sampleRate;
    packet.isMono = head.isMono();
    packet.bitRate = head.bitRate;
    packet.numPackets = figures.numPackets;
    packet.numBytes = figures.numBytes;
    packet.checksum = figures.checksum;
    packet.delay = figures.delay;
    packet.padding = figures.padding;
    packet.seekTable = figures.seekTable;
    return packet.bytes();
}

} // namespace

bool isInfoPacket(const QByteArray& packet)
{
    const auto places = placesIn(packet);
    if (!places || !(places->flags & (hasCount | hasBytes)))
        return isFraunhofers(packet);
    const int64_t second = (places->flags & hasCount) && (places->flags & hasBytes) ? places->count + 4 : 0;
    return packet.size() >= places->count + 8 &&
           (numberAt(packet, places->count) != 0 || (second > 0 && numberAt(packet, second) != 0));
}

std::optional<Notes> notesOf(const QByteArray& packet)
{
    const auto places = placesIn(packet);
    if (!places || !places->hasExtension)
        return std::nullopt;
    const auto fields = static_cast<int64_t>(numberAt(packet, places->extension + delayOffset) >> 8);
    Notes notes = {fields >> 12, fields & longestDelay, 0};
    if (places->flags & hasCount)
        notes.numPackets = numberAt(packet, places->count);
    return notes;
}

QByteArray withFigures(const QByteArray& packet, const MpegAudioHead& head, const Figures& figures)
{
    const auto places = placesIn(packet);
    if (!places || !places->hasExtension || (places->flags & hasAll) != hasAll)
        return newPacket(head, figures);
    QByteArray edited = packet;
    const int64_t numBytes = figures.numBytes + packet.size();
    put(edited, places->count, figures.numPackets, 4);
    put(edited, places->count + 4, numBytes, 4);
    edited.replace(places->count + 8, seekTableBytes,
                   QByteArray(reinterpret_cast<const char*>(figures.seekTable.data()), seekTableBytes));
    put(edited, places->extension + delayOffset, figures.delay << 12 | figures.padding, 3);
    put(edited, places->extension + lengthOffset, numBytes, 4);
    put(edited, places->extension + lengthOffset + 4, figures.checksum, 2);
    constexpr int64_t sumBytes = 2;
    const int64_t numSummed = places->extension + extensionBytes - sumBytes;
    const auto summed = std::as_bytes(std::span(edited.constData(), static_cast<size_t>(numSummed)));
    put(edited, numSummed, Mp3InfoPacket::checksumOf(summed), sumBytes);
    return edited;
}

} // namespace velloria::Mp3InfoEdit
