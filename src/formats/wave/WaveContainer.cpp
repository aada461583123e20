#include "formats/wave/WaveContainer.h"

#include "formats/tags/Id3Layout.h"

#include <QtEndian>
#include <algorithm>

namespace velloria
{

namespace
{

constexpr FourCharCode sizesIdent = fourCharCode("ds64");
constexpr int64_t longSizeMark = 0xFFFFFFFF;
constexpr qsizetype tableEntryLength = 12;
// Chunks beside the sound that are so large.
constexpr uint32_t mostTableEntries = 64;

/// Of the ID3v2 tag at the start of a file, its footer included; 0 when there is none.
int64_t lengthOfTag(const FileHandle& handle)
{
    constexpr char footerFlag = 0x10;
    const QByteArray header = handle.readAt(0, id3HeaderLength);
    if (header.size() < id3HeaderLength || !header.startsWith("ID3"))
        return 0;
    const int64_t length = id3HeaderLength + intFromSynchSafe(QByteArrayView(header).sliced(6, 4));
    return (header[5] & footerFlag) != 0 ? length + id3HeaderLength : length;
}

std::optional<WaveContainer> containerAt(const FileHandle& handle, int64_t offset)
{
    const QByteArray header = handle.readAt(offset, WaveContainer::headerLength);
    if (header.size() < WaveContainer::headerLength || header.mid(8, 4) != "WAVE")
        return std::nullopt;
    WaveContainer container;
    container.offset = offset;
    if (header.startsWith("RIFX"))
        container.byteOrder = ChunkByteOrder::bigEndian;
    container.isBW64 = header.startsWith("BW64");
    container.hasLongSizes = container.isBW64 || header.startsWith("RF64");
    const bool isKnown = container.hasLongSizes || header.startsWith("RIFX") || header.startsWith("RIFF");
    if (!isKnown)
        return std::nullopt;
    return container;
}

/// A size in 64 bits; nothing where it makes no sense, as before a recorder completes the file.
std::optional<int64_t> longSizeAt(const QByteArray& payload, qsizetype offset)
{
    const auto size = qFromLittleEndian<qint64>(payload.constData() + offset);
    constexpr int64_t largestFile = std::numeric_limits<int64_t>::max() / 2;
    return size >= 0 && size <= largestFile ? std::optional<int64_t>(size) : std::nullopt;
}

void readLongSizes(const FileHandle& handle, RiffRegion& region)
{
    const QByteArray header = handle.readAt(region.firstOffset, RiffChunk::headerLength);
    const QByteArray payload =
        handle.readAt(region.firstOffset + RiffChunk::headerLength,
                      WaveContainer::longSizesLength + mostTableEntries * tableEntryLength);
    const bool hasSizes = header.size() == RiffChunk::headerLength &&
                          qFromBigEndian<quint32>(header.constData()) == sizesIdent &&
                          payload.size() >= WaveContainer::longSizesLength;
    if (!hasSizes)
        return;
    if (const auto size = longSizeAt(payload, 0); size && region.formEnd == longSizeMark)
        region.formEnd = *size;
    if (const auto size = longSizeAt(payload, 8))
        region.longSizes.push_back({fourCharCode("data"), *size});
    const auto count = qFromLittleEndian<quint32>(payload.constData() + 24);
    for (uint32_t i = 0; i < std::min(count, mostTableEntries); ++i) {
        const qsizetype entry = WaveContainer::longSizesLength + i * tableEntryLength;
        if (entry + tableEntryLength > payload.size())
            break;
        if (const auto size = longSizeAt(payload, entry + 4))
            region.longSizes.push_back({qFromBigEndian<quint32>(payload.constData() + entry), *size});
    }
}

QByteArray littleEndian64(int64_t value)
{
    QByteArray bytes(8, Qt::Uninitialized);
    qToLittleEndian<qint64>(value, bytes.data());
    return bytes;
}

} // namespace

std::optional<WaveContainer> WaveContainer::ofFile(const FileHandle& handle)
{
    if (auto container = containerAt(handle, 0))
        return container;
    const int64_t tagLength = lengthOfTag(handle);
    return tagLength > 0 ? containerAt(handle, tagLength) : std::nullopt;
}

RiffRegion WaveContainer::region(const FileHandle& handle) const
{
    const QByteArray size = handle.readAt(offset + 4, 4);
    RiffRegion region;
    region.firstOffset = offset + headerLength;
    region.end = handle.length();
    region.byteOrder = byteOrder;
    if (size.size() == 4)
        region.formEnd = byteOrder == ChunkByteOrder::littleEndian
                             ? qFromLittleEndian<quint32>(size.constData())
                             : qFromBigEndian<quint32>(size.constData());
    if (hasLongSizes)
        readLongSizes(handle, region);
    if (region.formEnd < std::numeric_limits<int64_t>::max() / 2)
        region.formEnd += offset + RiffChunk::headerLength;
    return region;
}

QByteArray WaveContainer::header(int64_t fileLength)
{
    return riffChunkHeader(fourCharCode("RIFF"), fileLength - RiffChunk::headerLength) +
           QByteArrayLiteral("WAVE");
}

QByteArray WaveContainer::longHeader(int64_t fileLength, int64_t numBytesOfSound, int64_t numFrames) const
{
    return riffChunkHeader(isBW64 ? fourCharCode("BW64") : fourCharCode("RF64"), longSizeMark) +
           QByteArrayLiteral("WAVE") + riffChunkHeader(sizesIdent, longSizesLength) +
           littleEndian64(fileLength - RiffChunk::headerLength) + littleEndian64(numBytesOfSound) +
           littleEndian64(numFrames) + QByteArray(4, '\0');
}

} // namespace velloria
