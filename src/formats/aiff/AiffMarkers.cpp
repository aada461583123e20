#include "formats/aiff/AiffMarkers.h"

#include "formats/streams/BigEndianInputStream.h"
#include "formats/streams/BigEndianOutputStream.h"
#include "formats/streams/MacRoman.h"

#include <QtEndian>
#include <algorithm>

namespace velloria::AiffMarkers
{

namespace
{

constexpr int64_t mostMarkers = 65535;
constexpr int64_t highestPosition = 0xFFFFFFFF;
constexpr qsizetype longestName = 255;
// ID, position and the name's length byte.
constexpr int64_t entryHeaderLength = 7;

bool isNumberedFromZero(const std::vector<AudioMarkerPtr>& markers)
{
    for (size_t i = 0; i < markers.size(); ++i) {
        if (markers[i]->ident() != static_cast<int64_t>(i))
            return false;
    }
    return true;
}

/// Two loops of play mode, begin and end (16 bits each) follow notes, velocities and gain.
bool hasLoop(const QByteArray& instrument)
{
    constexpr qsizetype instrumentLength = 20;
    constexpr qsizetype loopLength = 6;
    return instrument.size() >= instrumentLength &&
           (qFromBigEndian<quint16>(instrument.constData() + instrumentLength - 2 * loopLength) != 0 ||
            qFromBigEndian<quint16>(instrument.constData() + instrumentLength - loopLength) != 0);
}

/// A count (16 bits), then time (32), marker, length of the text (16 each) and the text padded to be even.
bool namesMarker(const QByteArray& comments)
{
    BigEndianInputStream stream(comments);
    const auto count = static_cast<uint16_t>(stream.readSInt16());
    for (int i = 0; i < count && stream.remaining() > 0; ++i) {
        stream.readSInt32();
        if (stream.readSInt16() != 0)
            return true;
        const auto length = static_cast<uint16_t>(stream.readSInt16());
        std::vector<std::byte> text(size_t{length} + length % 2);
        stream.read(text);
    }
    return false;
}

} // namespace

QByteArray payloadOfMarkers(const std::vector<AudioMarkerPtr>& markers)
{
    const auto count =
        static_cast<size_t>(std::min<int64_t>(static_cast<int64_t>(markers.size()), mostMarkers));
    BigEndianOutputStream stream;
    stream.writeUInt16(static_cast<uint16_t>(count));
    for (size_t index = 0; index < count; ++index) {
        const QByteArray name = macRomanFromString(markers[index]->name()).left(longestName);
        stream.writeUInt16(static_cast<uint16_t>(index));
        stream.writeUInt32(
            static_cast<uint32_t>(std::clamp<int64_t>(markers[index]->position(), 0, highestPosition)));
        stream.writeUInt8(static_cast<uint8_t>(name.size()));
        stream.appendData(name);
        if (name.size() % 2 == 0)
            stream.writeUInt8(0);
    }
    return stream.data();
}

Result markersOfPayload(const QByteArray& payload)
{
    BigEndianInputStream stream(payload);
    Result result;
    result.isComplete = payload.size() >= 2;
    const auto count = static_cast<uint16_t>(stream.readSInt16());
    for (int i = 0; i < count; ++i) {
        const bool hasHeader = stream.remaining() >= entryHeaderLength;
        const int16_t ident = stream.readSInt16();
        const auto position = static_cast<uint32_t>(stream.readSInt32());
        const qsizetype nameLength = stream.readUInt8();
        if (!hasHeader || stream.remaining() < nameLength) {
            result.isComplete = false;
            break;
        }
        QByteArray name(nameLength + (nameLength % 2 == 0 ? 1 : 0), Qt::Uninitialized);
        stream.read(std::as_writable_bytes(std::span(name.data(), static_cast<size_t>(name.size()))));
        result.markers.push_back(std::make_shared<AudioMarker>(
            ident, position, stringFromMacRoman(QByteArrayView(name).first(nameLength))));
    }
    return result;
}

bool losesReferences(const std::vector<AudioMarkerPtr>& markers, const QByteArray& instrument,
                     const QByteArray& comments)
{
    return !isNumberedFromZero(markers) && (hasLoop(instrument) || namesMarker(comments));
}

} // namespace velloria::AiffMarkers
