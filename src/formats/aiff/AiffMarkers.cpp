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

constexpr qsizetype longestName = 255;

using Markers = std::vector<AudioMarkerPtr>;

/// Two loops of play mode (0 for none), begin and end (16 bits each) follow notes, velocities and gain.
void addLoops(const QByteArray& instrument, std::set<uint16_t>& idents)
{
    constexpr qsizetype instrumentLength = 20;
    constexpr qsizetype loopLength = 6;
    if (instrument.size() < instrumentLength)
        return;
    for (const qsizetype offset : {instrumentLength - 2 * loopLength, instrumentLength - loopLength}) {
        const char* const loop = instrument.constData() + offset;
        if (qFromBigEndian<quint16>(loop) == 0)
            continue;
        idents.insert(qFromBigEndian<quint16>(loop + 2));
        idents.insert(qFromBigEndian<quint16>(loop + 4));
    }
}

/// A count (16 bits), then time (32), marker (0 for none), length of the text (16 each) and the text padded
/// to be even.
void addComments(const QByteArray& comments, std::set<uint16_t>& idents)
{
    BigEndianInputStream stream(comments);
    const auto count = static_cast<uint16_t>(stream.readSInt16());
    for (int i = 0; i < count && stream.remaining() > 0; ++i) {
        stream.readSInt32();
        if (const auto ident = static_cast<uint16_t>(stream.readSInt16()); ident != 0)
            idents.insert(ident);
        const auto length = static_cast<uint16_t>(stream.readSInt16());
        std::vector<std::byte> text(size_t{length} + length % 2);
        stream.read(text);
    }
}

/// Null for none.
AudioMarkerPtr markerNamed(uint16_t ident, const Markers& markers, bool isByIndex)
{
    if (isByIndex)
        return ident < std::min<size_t>(markers.size(), mostMarkers) ? markers[ident] : nullptr;
    const auto found = std::find_if(markers.begin(), markers.end(), [ident](const AudioMarkerPtr& marker) {
        return static_cast<uint16_t>(marker->ident()) == ident;
    });
    return found == markers.end() ? nullptr : *found;
}

/// Where edits of the sound move markers, copies take their places, so that only number and name tell which
/// is which. Markers made here have the number 0, and those of a pasted passage that of their originals: of
/// several that are alike the copy is known by its place among them.
bool isCopyOf(const AudioMarkerPtr& marker, const Markers& before, const AudioMarkerPtr& copy,
              const Markers& after)
{
    if (marker->ident() != copy->ident() || std::find(before.begin(), before.end(), copy) != before.end())
        return false;
    const auto hasNumber = [&marker](const AudioMarkerPtr& each) { return each->ident() == marker->ident(); };
    if (marker->ident() != 0 && std::count_if(before.begin(), before.end(), hasNumber) == 1 &&
        std::count_if(after.begin(), after.end(), hasNumber) == 1)
        return true;
    const auto isAlike = [&](const AudioMarkerPtr& each) {
        return hasNumber(each) && each->name() == marker->name();
    };
    const auto placeOf = [&isAlike](const AudioMarkerPtr& wanted, const Markers& markers) {
        return std::count_if(markers.begin(), std::find(markers.begin(), markers.end(), wanted), isAlike);
    };
    return isAlike(copy) && placeOf(marker, before) == placeOf(copy, after) &&
           std::count_if(before.begin(), before.end(), isAlike) ==
               std::count_if(after.begin(), after.end(), isAlike);
}

} // namespace

QByteArray storedName(const QString& name)
{
    return macRomanFromString(name).left(longestName);
}

QByteArray entryOf(uint16_t ident, const AudioMarker& marker)
{
    const QByteArray name = storedName(marker.name());
    BigEndianOutputStream stream;
    stream.writeUInt16(ident);
    stream.writeUInt32(static_cast<uint32_t>(std::clamp<int64_t>(marker.position(), 0, highestPosition)));
    stream.writeUInt8(static_cast<uint8_t>(name.size()));
    stream.appendData(name);
    if (name.size() % 2 == 0)
        stream.writeUInt8(0);
    return stream.data();
}

std::set<uint16_t> identsNamed(const QByteArray& instrument, const QByteArray& comments)
{
    std::set<uint16_t> idents;
    addLoops(instrument, idents);
    addComments(comments, idents);
    return idents;
}

QByteArray payloadOfMarkers(const std::vector<AudioMarkerPtr>& markers)
{
    const auto count =
        static_cast<size_t>(std::min<int64_t>(static_cast<int64_t>(markers.size()), mostMarkers));
    BigEndianOutputStream stream;
    stream.writeUInt16(static_cast<uint16_t>(count));
    for (size_t index = 0; index < count; ++index)
        stream.appendData(entryOf(static_cast<uint16_t>(index), *markers[index]));
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

bool movesReferences(const QByteArray& instrument, const QByteArray& comments, const Numbering& opened,
                     const MarkerList& written)
{
    const std::set<uint16_t> idents = identsNamed(instrument, comments);
    const Markers none;
    const Markers& before = opened.markers ? *opened.markers : none;
    const Markers& after = written ? *written : none;
    return std::any_of(idents.begin(), idents.end(), [&](uint16_t ident) {
        const AudioMarkerPtr meant = markerNamed(ident, before, opened.isByIndex);
        const AudioMarkerPtr named = markerNamed(ident, after, true);
        return meant != named && (!meant || !named || !isCopyOf(meant, before, named, after));
    });
}

} // namespace velloria::AiffMarkers
