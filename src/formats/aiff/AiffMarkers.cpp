#include "formats/aiff/AiffMarkers.h"

#include "formats/streams/BigEndianInputStream.h"
#include "formats/streams/BigEndianOutputStream.h"
#include "formats/streams/MacRoman.h"

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

} // namespace velloria::AiffMarkers
