#include "platform/codec/Mpeg4Box.h"

#include <QtEndian>
#include <algorithm>

namespace velloria
{

namespace
{

// The index of three days of sound, or some large pictures.
constexpr int64_t kMaxMovieBytes = int64_t{256} << 20;
constexpr int64_t kMaxTopLevelBoxes = 1 << 20;
constexpr auto kHeaderBytes = static_cast<size_t>(mpeg4BoxHeaderBytes);

} // namespace

uint64_t Mpeg4Box::number(size_t at, size_t numBytes) const
{
    if (at + numBytes > mBytes.size())
        return 0;
    uint64_t value = 0;
    for (size_t i = 0; i < numBytes; ++i)
        value = value << 8 | mBytes[at + i];
    return value;
}

QByteArray Mpeg4Box::copy(size_t at, size_t numBytes) const
{
    const auto part = mBytes.subspan(std::min(at, mBytes.size()));
    return {reinterpret_cast<const char*>(part.data()),
            static_cast<qsizetype>(std::min(numBytes, part.size()))};
}

/// Calls `take` with each child, until it gives false.
template <typename Taker> void Mpeg4Box::forEachChild(const Taker& take) const
{
    constexpr size_t longHeaderBytes = 16;
    for (size_t at = 0; at + kHeaderBytes <= mBytes.size();) {
        const size_t room = mBytes.size() - at;
        const bool isLong = number32(at) == 1 && room >= longHeaderBytes;
        const size_t headerSize = isLong ? longHeaderBytes : kHeaderBytes;
        const size_t size = isLong ? number(at + 8, 8) : number32(at) == 0 ? room : number32(at);
        if (size < headerSize || size > room || !take(Child{number32(at + 4), at, headerSize, size}))
            return;
        at += size;
    }
}

std::vector<Mpeg4Box::Child> Mpeg4Box::allChildren() const
{
    std::vector<Child> found;
    forEachChild([&](const Child& child) {
        found.push_back(child);
        return true;
    });
    return found;
}

std::vector<Mpeg4Box> Mpeg4Box::children(FourCharCode type) const
{
    std::vector<Mpeg4Box> found;
    forEachChild([&](const Child& child) {
        if (child.type == type)
            found.push_back(payloadOf(child));
        return true;
    });
    return found;
}

Mpeg4Box Mpeg4Box::descendant(std::initializer_list<FourCharCode> path) const
{
    Mpeg4Box box = *this;
    for (const FourCharCode type : path) {
        Mpeg4Box child{std::span<const uint8_t>()};
        box.forEachChild([&](const Child& each) {
            if (each.type == type)
                child = box.payloadOf(each);
            return each.type != type;
        });
        box = child;
    }
    return box;
}

QByteArray Mpeg4Box::childrenWithout(FourCharCode type) const
{
    QByteArray others;
    forEachChild([&](const Child& child) {
        if (child.type != type)
            others += wholeOf(child);
        return true;
    });
    return others;
}

std::optional<Mpeg4BoxPlace> findMpeg4Box(const FileHandle& file, FourCharCode type)
{
    constexpr int64_t longHeaderBytes = 16;
    const int64_t length = file.length();
    Mpeg4BoxPlace place;
    for (int64_t i = 0; i < kMaxTopLevelBoxes && place.offset + 8 <= length; ++i) {
        const QByteArray bytes = file.readAt(place.offset, longHeaderBytes);
        const Mpeg4Box header(bytes);
        const bool isLong = header.number32(0) == 1;
        place.headerSize = isLong ? longHeaderBytes : 8;
        place.size = isLong ? static_cast<int64_t>(header.number(8, 8)) : header.number32(0);
        if (place.size == 0)
            place.size = length - place.offset;
        if (place.size < place.headerSize || place.size > length - place.offset)
            break;
        if (header.number32(4) == type)
            return place;
        place.offset += place.size;
    }
    return std::nullopt;
}

QByteArray readMpeg4Movie(const FileHandle& file)
{
    const auto place = findMpeg4Box(file, fourCharCode("moov"));
    if (!place || place->size > kMaxMovieBytes)
        return {};
    return file.readAt(place->offset + place->headerSize, place->size - place->headerSize);
}

uint32_t mpeg4TrackID(const Mpeg4Box& track)
{
    const Mpeg4Box header = track.descendant({fourCharCode("tkhd")});
    return header.number32(header.version() == 1 ? 20 : 12);
}

uint32_t mpeg4Timescale(const Mpeg4Box& header)
{
    return header.number32(header.version() == 1 ? 20 : 12);
}

QByteArray mpeg4BoxHeader(FourCharCode type, size_t numPayloadBytes)
{
    QByteArray header(mpeg4BoxHeaderBytes, Qt::Uninitialized);
    qToBigEndian(static_cast<uint32_t>(kHeaderBytes + numPayloadBytes), header.data());
    qToBigEndian(type, header.data() + 4);
    return header;
}

QByteArray mpeg4Box(FourCharCode type, const QByteArray& payload)
{
    return mpeg4BoxHeader(type, static_cast<size_t>(payload.size())) + payload;
}

QByteArray mpeg4PayloadWith(const Mpeg4Box& parent, const Mpeg4ChildChange& change)
{
    QByteArray bytes;
    const std::vector<Mpeg4Box::Child> children = parent.allChildren();
    for (const Mpeg4Box::Child& child : children)
        bytes += change(child, parent.payloadOf(child)).value_or(parent.wholeOf(child));
    const size_t end = children.empty() ? 0 : children.back().end();
    return bytes += parent.copy(end, parent.size() - end);
}

} // namespace velloria
