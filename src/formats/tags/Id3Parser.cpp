#include "formats/tags/Id3Parser.h"

#include "formats/tags/Id3FrameCollector.h"

#include <QtEndian>
#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

// Layouts: "ID3 tag version 2" (2.2.0), 2.3.0 and 2.4.0-structure at https://id3.org
constexpr qsizetype version2FrameHeaderLength = 6;
constexpr qsizetype frameHeaderLength = 10;
constexpr uint8_t headerIsUnsynchronised = 0x80;
constexpr uint8_t headerIsCompressed = 0x40; // version 2.2
constexpr uint8_t headerIsExtended = 0x40;   // versions 2.3 and 2.4
constexpr uint8_t headerHasFooter = 0x10;    // version 2.4

/// What the second flag byte of a frame means in each version.
struct FrameFlags {
    uint8_t unreadable; // compressed or encrypted
    uint8_t hasGroup;
    uint8_t isUnsynchronised;
    uint8_t hasDataLength;
};
constexpr FrameFlags version3Flags{0x80 | 0x40, 0x20, 0, 0};
constexpr FrameFlags version4Flags{0x08 | 0x04, 0x40, 0x02, 0x01};

uint8_t byteAt(QByteArrayView bytes, qsizetype offset)
{
    return static_cast<uint8_t>(bytes[offset]);
}

int64_t uint32At(QByteArrayView bytes, qsizetype offset)
{
    return qFromBigEndian<quint32>(bytes.data() + offset);
}

/// True where four capitals or digits stand, as every frame ID is made.
bool isFrameIDAt(QByteArrayView tag, qsizetype offset)
{
    if (offset < 0 || offset + 4 > tag.size())
        return false;
    const QByteArrayView id = tag.sliced(offset, 4);
    return std::all_of(id.begin(), id.end(),
                       [](char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); });
}

bool isFrameOrEndAt(QByteArrayView tag, qsizetype offset)
{
    if (offset >= tag.size())
        return offset == tag.size();
    const QByteArrayView next = tag.sliced(offset, std::min<qsizetype>(4, tag.size() - offset));
    const bool isPadding = std::all_of(next.begin(), next.end(), [](char c) { return c == 0; });
    return isPadding || isFrameIDAt(tag, offset);
}

/// Where the bytes of a tag lie in the file whose zero bytes behind 0xFF were taken out. Asked forwards.
class StoredPositions
{
public:
    StoredPositions(QByteArrayView stored, bool isUnsynchronised)
        : mBytes(stored)
        , mIsUnsynchronised(isUnsynchronised)
    {
    }

    qsizetype at(qsizetype offset)
    {
        if (!mIsUnsynchronised)
            return offset;
        for (; mOffset < offset && mStored < mBytes.size(); ++mOffset) {
            ++mStored;
            if (mStored < mBytes.size() && mBytes[mStored] == 0 && mBytes[mStored - 1] == '\xFF')
                ++mStored;
        }
        return mStored;
    }

    ByteRange range(qsizetype offset, qsizetype end)
    {
        const int64_t start = at(offset);
        return {start, at(end) - start};
    }

private:
    QByteArrayView mBytes;
    bool mIsUnsynchronised;
    qsizetype mOffset = 0;
    qsizetype mStored = 0;
};

/// A tag under way.
struct Reading {
    QByteArrayView tag;
    StoredPositions positions;
    Id3FrameCollector collector;
    FileLedger& ledger;

    /// What follows the last frame: padding, or frames that cannot be found behind damage.
    void finish(qsizetype offset)
    {
        const QByteArrayView rest = tag.sliced(std::min(offset, tag.size()));
        const ByteRange bytes = positions.range(offset, tag.size());
        if (std::all_of(rest.begin(), rest.end(), [](char c) { return c == 0; }))
            ledger.addStructure(bytes);
        else
            ledger.addNotKept(ItemKind::part,
                              QStringLiteral("a damaged part of the ID3 tag (%1 bytes)").arg(rest.size()),
                              bytes);
    }
};

void parseVersion2(Reading& reading)
{
    constexpr qsizetype shortestTag = 17;
    const QByteArrayView tag = reading.tag;
    qsizetype offset = id3HeaderLength;
    while (tag.size() >= shortestTag && offset + version2FrameHeaderLength <= tag.size()) {
        const QByteArrayView id = tag.sliced(offset, 3);
        const qsizetype size = uint32At(tag, offset + 2) & 0xFFFFFF;
        const qsizetype payload = offset + version2FrameHeaderLength;
        if (id.contains('\0') || size > tag.size() - payload)
            break;
        reading.collector.addVersion2Frame(id, tag.sliced(payload, size),
                                           reading.positions.range(offset, payload + size));
        offset = payload + size;
    }
    reading.finish(offset);
}

/// Where the frames begin. An extended header of version 2.3 does not count its own four size bytes, but
/// some writers do; others set the flag and write none. The first place where a frame stands is right.
qsizetype firstFrameOffset(QByteArrayView tag, bool isVersion4)
{
    if ((byteAt(tag, 5) & headerIsExtended) == 0)
        return id3HeaderLength;
    const QByteArrayView sizeBytes = tag.sliced(id3HeaderLength, 4);
    const int64_t size = isVersion4 ? intFromSynchSafe(sizeBytes) : uint32At(tag, id3HeaderLength);
    const qsizetype offset = id3HeaderLength + size;
    for (const qsizetype candidate : {offset, offset + 4, id3HeaderLength}) {
        if (isFrameIDAt(tag, candidate))
            return candidate;
    }
    return offset;
}

/// Version 2.4 stores seven bits a byte, but widespread programs stored all eight; where only the latter
/// leads to another frame, padding or the end, it is meant.
qsizetype version4FrameSize(QByteArrayView tag, qsizetype frameOffset)
{
    const qsizetype size = intFromSynchSafe(tag.sliced(frameOffset + 4, 4));
    const qsizetype plainSize = uint32At(tag, frameOffset + 4);
    const qsizetype payloadOffset = frameOffset + frameHeaderLength;
    if (size == plainSize || isFrameOrEndAt(tag, payloadOffset + size))
        return size;
    return isFrameOrEndAt(tag, payloadOffset + plainSize) ? plainSize : size;
}

/// Hands over a frame's payload without what its flags put in front of it.
void addFlaggedFrame(QByteArrayView id, QByteArrayView payload, uint8_t flags, const FrameFlags& meaning,
                     bool isUnsynchronised, ByteRange bytes, Id3FrameCollector& collector)
{
    if ((flags & meaning.unreadable) != 0)
        return collector.addUnreadableFrame(id, bytes);
    const qsizetype prefixLength =
        ((flags & meaning.hasGroup) != 0 ? 1 : 0) + ((flags & meaning.hasDataLength) != 0 ? 4 : 0);
    payload = payload.sliced(std::min(prefixLength, payload.size()));
    if (isUnsynchronised || (flags & meaning.isUnsynchronised) != 0)
        collector.addFrame(id, unsynchronizeData(payload), bytes);
    else
        collector.addFrame(id, payload, bytes);
}

/// In version 2.4 the tag's unsynchronisation bit says that every frame is unsynchronised by itself, and
/// sizes count the bytes as stored; in 2.3 the caller has undone it for the whole tag.
void parseVersion3Or4(Reading& reading, bool isVersion4)
{
    const QByteArrayView tag = reading.tag;
    const bool isUnsynchronised = isVersion4 && (byteAt(tag, 5) & headerIsUnsynchronised) != 0;
    qsizetype offset = firstFrameOffset(tag, isVersion4);
    // An extended header.
    reading.ledger.addStructure(reading.positions.range(id3HeaderLength, std::min(offset, tag.size())));
    while (offset < tag.size() - frameHeaderLength) {
        const qsizetype size = isVersion4 ? version4FrameSize(tag, offset) : uint32At(tag, offset + 4);
        const qsizetype payload = offset + frameHeaderLength;
        if (uint32At(tag, offset) == 0 || size > tag.size() - payload)
            break;
        addFlaggedFrame(tag.sliced(offset, 4), tag.sliced(payload, size), byteAt(tag, offset + 9),
                        isVersion4 ? version4Flags : version3Flags, isUnsynchronised,
                        reading.positions.range(offset, payload + size), reading.collector);
        offset = payload + size;
    }
    reading.finish(offset);
}

} // namespace

int64_t intFromSynchSafe(QByteArrayView bytes)
{
    int64_t value = 0;
    for (qsizetype i = 0; i < 4; ++i)
        value = (value << 7) + byteAt(bytes, i);
    return value;
}

QByteArray unsynchronizeData(QByteArrayView bytes)
{
    QByteArray result(bytes.size(), Qt::Uninitialized);
    char* out = result.data();
    char previous = 0;
    for (const char byte : bytes) {
        if (byte != 0 || previous != '\xFF')
            *out++ = byte;
        previous = byte;
    }
    result.truncate(out - result.data());
    return result;
}

int64_t id3TagLength(QByteArrayView header)
{
    const bool hasFooter = byteAt(header, 3) == 4 && (byteAt(header, 5) & headerHasFooter) != 0;
    return id3HeaderLength + intFromSynchSafe(header.sliced(6, 4)) + (hasFooter ? id3HeaderLength : 0);
}

std::optional<MetadataDictionary> parseId3Tag(QByteArrayView tag, FileLedger* ledger)
{
    constexpr qsizetype shortestTag = 14;
    if (tag.size() < shortestTag || !tag.startsWith("ID3"))
        return std::nullopt;
    const uint8_t version = byteAt(tag, 3);
    const uint8_t flags = byteAt(tag, 5);
    if (version < 2 || version > 4 || (version == 2 && (flags & headerIsCompressed) != 0))
        return std::nullopt;

    FileLedger ownLedger;
    FileLedger& account = ledger ? *ledger : ownLedger;
    account.addStructure({0, id3HeaderLength});
    if (version == 4 && tag.sliced(tag.size() - id3HeaderLength).startsWith("3DI")) {
        account.addStructure({tag.size() - id3HeaderLength, id3HeaderLength});
        tag.chop(id3HeaderLength);
    }
    QByteArray resynchronised;
    const QByteArrayView stored = tag;
    const bool isUnsynchronised = version != 4 && (flags & headerIsUnsynchronised) != 0;
    if (isUnsynchronised) {
        resynchronised = unsynchronizeData(tag);
        tag = resynchronised;
    }
    Reading reading = {tag, {stored, isUnsynchronised}, {}, account};
    if (version == 2)
        parseVersion2(reading);
    else if (tag.size() >= shortestTag)
        parseVersion3Or4(reading, version == 4);
    else
        reading.finish(id3HeaderLength);
    return reading.collector.take(account);
}

} // namespace velloria
