#include "formats/tags/Id3Layout.h"

#include <QtEndian>
#include <algorithm>

namespace velloria
{

namespace
{

// Layouts: "ID3 tag version 2" (2.2.0), 2.3.0 and 2.4.0-structure at https://id3.org
constexpr qsizetype version2FrameHeaderLength = 6;
constexpr qsizetype frameHeaderLength = 10;
constexpr qsizetype shortestTag = 14;
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

bool holdsOnlyZeros(QByteArrayView bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](char c) { return c == 0; });
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
    return holdsOnlyZeros(tag.sliced(offset, std::min<qsizetype>(4, tag.size() - offset))) ||
           isFrameIDAt(tag, offset);
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

/// In version 2.4 the tag's unsynchronisation bit says that every frame is unsynchronised by itself.
Id3StoredFrame flaggedFrame(QByteArrayView header, QByteArrayView payload, const FrameFlags& meaning,
                            bool isUnsynchronised)
{
    Id3StoredFrame frame;
    frame.id = header.first(4);
    frame.statusFlags = byteAt(header, 8);
    frame.formatFlags = byteAt(header, 9);
    const auto has = [&frame](uint8_t flag) { return (frame.formatFlags & flag) != 0; };
    frame.isUnreadable = has(meaning.unreadable);
    frame.isUnsynchronised = isUnsynchronised || has(meaning.isUnsynchronised);
    if (has(meaning.hasGroup) && !frame.isUnreadable && !payload.isEmpty())
        frame.group = payload.front();
    const qsizetype prefixLength = (has(meaning.hasGroup) ? 1 : 0) + (has(meaning.hasDataLength) ? 4 : 0);
    frame.payload = payload.sliced(std::min(prefixLength, payload.size()));
    return frame;
}

} // namespace

/// Where the bytes of a tag lie in the file whose zero bytes behind 0xFF were taken out. Asked forwards.
class Id3Layout::StoredPositions
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

QByteArray Id3StoredFrame::content() const
{
    return isUnsynchronised ? unsynchronizeData(payload) : payload.toByteArray();
}

std::optional<Id3Layout> Id3Layout::ofTag(QByteArrayView tag)
{
    if (tag.size() < shortestTag || !tag.startsWith("ID3"))
        return std::nullopt;
    Id3Layout layout;
    layout.mVersion = byteAt(tag, 3);
    layout.mFlags = byteAt(tag, 5);
    const bool isCompressed = layout.mVersion == 2 && (layout.mFlags & headerIsCompressed) != 0;
    if (layout.mVersion < 2 || layout.mVersion > 4 || isCompressed)
        return std::nullopt;
    layout.mHasFooter = layout.mVersion == 4 && tag.sliced(tag.size() - id3HeaderLength).startsWith("3DI");
    if (layout.mHasFooter)
        tag.chop(id3HeaderLength);
    layout.mIsUnsynchronised = layout.mVersion != 4 && (layout.mFlags & headerIsUnsynchronised) != 0;
    StoredPositions positions(tag, layout.mIsUnsynchronised);
    if (layout.mIsUnsynchronised) {
        layout.mResynchronised = unsynchronizeData(tag);
        tag = layout.mResynchronised;
    }
    layout.findFrames(tag, positions);
    return layout;
}

bool Id3Layout::hasUnsynchronisedFrames() const
{
    return mVersion == 4 && (mFlags & headerIsUnsynchronised) != 0;
}

void Id3Layout::findFrames(QByteArrayView tag, StoredPositions& positions)
{
    if (mVersion == 2)
        findVersion2Frames(tag, positions);
    else if (tag.size() >= shortestTag)
        findVersion3Or4Frames(tag, positions);
    else
        finish(tag, id3HeaderLength, positions);
}

void Id3Layout::findVersion2Frames(QByteArrayView tag, StoredPositions& positions)
{
    constexpr qsizetype shortestTagWithFrame = 17;
    qsizetype offset = id3HeaderLength;
    while (tag.size() >= shortestTagWithFrame && offset + version2FrameHeaderLength <= tag.size()) {
        const QByteArrayView id = tag.sliced(offset, 3);
        const qsizetype size = uint32At(tag, offset + 2) & 0xFFFFFF;
        const qsizetype payload = offset + version2FrameHeaderLength;
        if (id.contains('\0') || size > tag.size() - payload)
            break;
        Id3StoredFrame frame;
        frame.id = id;
        frame.payload = tag.sliced(payload, size);
        frame.bytes = positions.range(offset, payload + size);
        mFrames.push_back(frame);
        offset = payload + size;
    }
    finish(tag, offset, positions);
}

/// Sizes count the bytes as stored; what version 2.3 unsynchronised has been undone for the whole tag.
void Id3Layout::findVersion3Or4Frames(QByteArrayView tag, StoredPositions& positions)
{
    const bool isVersion4 = mVersion == 4;
    qsizetype offset = firstFrameOffset(tag, isVersion4);
    mExtendedHeader = positions.range(id3HeaderLength, std::min(offset, tag.size()));
    while (offset < tag.size() - frameHeaderLength) {
        const qsizetype size = isVersion4 ? version4FrameSize(tag, offset) : uint32At(tag, offset + 4);
        const qsizetype payload = offset + frameHeaderLength;
        if (uint32At(tag, offset) == 0 || size > tag.size() - payload)
            break;
        Id3StoredFrame frame =
            flaggedFrame(tag.sliced(offset, frameHeaderLength), tag.sliced(payload, size),
                         isVersion4 ? version4Flags : version3Flags, hasUnsynchronisedFrames());
        frame.bytes = positions.range(offset, payload + size);
        mFrames.push_back(frame);
        offset = payload + size;
    }
    finish(tag, offset, positions);
}

void Id3Layout::finish(QByteArrayView tag, qsizetype offset, StoredPositions& positions)
{
    // An extended header may claim more than there is.
    offset = std::min(offset, tag.size());
    mRest = positions.range(offset, tag.size());
    mRestIsPadding = holdsOnlyZeros(tag.sliced(offset));
}

int64_t intFromSynchSafe(QByteArrayView bytes)
{
    int64_t value = 0;
    for (qsizetype i = 0; i < 4; ++i)
        value = (value << 7) + byteAt(bytes, i);
    return value;
}

QByteArray id3SynchSafe(uint32_t value)
{
    QByteArray bytes(4, Qt::Uninitialized);
    for (qsizetype i = 0; i < 4; ++i)
        bytes[i] = static_cast<char>((value >> (7 * (3 - i))) & 0x7F);
    return bytes;
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

} // namespace velloria
