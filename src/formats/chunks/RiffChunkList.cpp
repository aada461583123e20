#include "formats/chunks/RiffChunkList.h"

#include <QtEndian>
#include <algorithm>

namespace velloria
{

namespace
{

// What a size field of 32 bits holds where the size stands elsewhere.
constexpr int64_t longSizeMark = 0xFFFFFFFF;

bool isPrintable(FourCharCode ident)
{
    const QByteArray text = fourCharText(ident);
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

/// Where to look for chunks.
struct Place {
    const FileHandle& handle;
    const RiffRegion& region;
};

bool readHeader(const Place& place, int64_t offset, RiffChunk& chunk)
{
    const RiffRegion& region = place.region;
    if (offset + RiffChunk::headerLength > region.end)
        return false;
    const QByteArray header = place.handle.readAt(offset, RiffChunk::headerLength);
    if (header.size() < RiffChunk::headerLength)
        return false;
    chunk.ident = qFromBigEndian<quint32>(header.constData());
    chunk.offset = offset;
    const char* const size = header.constData() + 4;
    chunk.size = region.byteOrder == ChunkByteOrder::littleEndian ? qFromLittleEndian<quint32>(size)
                                                                  : qFromBigEndian<quint32>(size);
    for (const LongChunkSize& longSize : region.longSizes) {
        if (chunk.size == longSizeMark && longSize.ident == chunk.ident)
            chunk.size = longSize.size;
    }
    chunk.isComplete = chunk.end() <= region.end;
    return true;
}

bool isSound(FourCharCode ident)
{
    return ident == fourCharCode("data") || ident == fourCharCode("SSND");
}

bool isHeaderLikely(const Place& place, int64_t offset)
{
    RiffChunk chunk;
    // Sound data is what most often runs past the end.
    return readHeader(place, offset, chunk) && isPrintable(chunk.ident) &&
           (chunk.isComplete || isSound(chunk.ident));
}

/// How far the bytes at an offset look like a chunk: 0 not at all, 1 a header, 2 with something behind it
/// that looks like one too, or the end.
int likelihood(const Place& place, int64_t offset)
{
    RiffChunk chunk;
    if (!isHeaderLikely(place, offset) || !readHeader(place, offset, chunk))
        return 0;
    const bool goesOn = chunk.end() >= place.region.end - 1 || isHeaderLikely(place, chunk.end()) ||
                        isHeaderLikely(place, chunk.end() + 1);
    return goesOn ? 2 : 1;
}

int64_t offsetAfter(const Place& place, const RiffChunk& chunk)
{
    const bool isEven = chunk.size % 2 == 0;
    if (isEven && !place.handle.readAt(chunk.end(), 1).startsWith('\0'))
        return chunk.end();
    // Some pad bytes are not zero, and the letters of a header with one before or behind them can make
    // another: what is followed by more of its kind is the right one.
    const int padded = likelihood(place, chunk.end() + 1);
    const int plain = likelihood(place, chunk.end());
    const bool isPadded = isEven ? padded > plain : padded >= plain;
    return chunk.end() + (isPadded ? 1 : 0);
}

} // namespace

RiffChunkList RiffChunkList::ofFile(const FileHandle& handle, const RiffRegion& region)
{
    const Place place{handle, region};
    RiffChunkList list;
    RiffChunk chunk;
    for (int64_t offset = region.firstOffset; list.mChunks.size() < region.mostChunks;
         offset = offsetAfter(place, chunk)) {
        if (!readHeader(place, offset, chunk))
            break;
        // What some program put behind the whole is no chunk.
        if (offset >= region.formEnd && !isPrintable(chunk.ident))
            break;
        list.mChunks.push_back(chunk);
    }
    return list;
}

const RiffChunk* RiffChunkList::find(FourCharCode ident) const
{
    const auto found = std::find_if(mChunks.begin(), mChunks.end(),
                                    [ident](const RiffChunk& chunk) { return chunk.ident == ident; });
    return found == mChunks.end() ? nullptr : &*found;
}

void RiffChunkList::openUp(FourCharCode ident, int64_t end)
{
    const auto found = std::find_if(mChunks.begin(), mChunks.end(),
                                    [ident](const RiffChunk& chunk) { return chunk.ident == ident; });
    if (found == mChunks.end())
        return;
    found->size = std::max<int64_t>(0, end - found->payloadOffset());
    found->isComplete = true;
    mChunks.erase(std::next(found), mChunks.end());
}

bool RiffChunkList::isHeaderLikelyAt(const FileHandle& handle, int64_t offset, ChunkByteOrder byteOrder)
{
    const RiffRegion wholeFile{0, handle.length(), byteOrder};
    return isHeaderLikely({handle, wholeFile}, offset);
}

QByteArray riffChunkHeader(FourCharCode ident, int64_t size, ChunkByteOrder byteOrder)
{
    const auto storedSize = static_cast<quint32>(std::clamp<int64_t>(size, 0, 0xFFFFFFFF));
    QByteArray header(RiffChunk::headerLength, Qt::Uninitialized);
    qToBigEndian<quint32>(ident, header.data());
    if (byteOrder == ChunkByteOrder::littleEndian)
        qToLittleEndian<quint32>(storedSize, header.data() + 4);
    else
        qToBigEndian<quint32>(storedSize, header.data() + 4);
    return header;
}

} // namespace velloria
