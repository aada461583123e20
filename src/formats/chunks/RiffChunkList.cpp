#include "formats/chunks/RiffChunkList.h"

#include <QtEndian>
#include <algorithm>

namespace velloria
{

namespace
{

bool isPrintable(FourCharCode ident)
{
    const QByteArray text = fourCharText(ident);
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

/// A place where chunks may stand.
struct Region {
    const FileHandle& handle;
    int64_t end;
    ChunkByteOrder byteOrder;
};

bool readHeader(const Region& region, int64_t offset, RiffChunk& chunk)
{
    if (offset + RiffChunk::headerLength > region.end)
        return false;
    const QByteArray header = region.handle.readAt(offset, RiffChunk::headerLength);
    if (header.size() < RiffChunk::headerLength)
        return false;
    chunk.ident = qFromBigEndian<quint32>(header.constData());
    chunk.offset = offset;
    const char* const size = header.constData() + 4;
    chunk.size = region.byteOrder == ChunkByteOrder::littleEndian ? qFromLittleEndian<quint32>(size)
                                                                  : qFromBigEndian<quint32>(size);
    chunk.isComplete = chunk.end() <= region.end;
    return true;
}

bool isSound(FourCharCode ident)
{
    return ident == fourCharCode("data") || ident == fourCharCode("SSND");
}

bool isHeaderLikely(const Region& region, int64_t offset)
{
    RiffChunk chunk;
    // Sound data is what most often runs past the end.
    return readHeader(region, offset, chunk) && isPrintable(chunk.ident) &&
           (chunk.isComplete || isSound(chunk.ident));
}

/// How far the bytes at an offset look like a chunk: 0 not at all, 1 a header, 2 with something behind it
/// that looks like one too, or the end.
int likelihood(const Region& region, int64_t offset)
{
    RiffChunk chunk;
    if (!isHeaderLikely(region, offset) || !readHeader(region, offset, chunk))
        return 0;
    const bool goesOn = chunk.end() >= region.end - 1 || isHeaderLikely(region, chunk.end()) ||
                        isHeaderLikely(region, chunk.end() + 1);
    return goesOn ? 2 : 1;
}

int64_t offsetAfter(const Region& region, const RiffChunk& chunk)
{
    const bool isEven = chunk.size % 2 == 0;
    if (isEven && !region.handle.readAt(chunk.end(), 1).startsWith('\0'))
        return chunk.end();
    // Some pad bytes are not zero, and the letters of a header with one before or behind them can make
    // another: what is followed by more of its kind is the right one.
    const int padded = likelihood(region, chunk.end() + 1);
    const int plain = likelihood(region, chunk.end());
    const bool isPadded = isEven ? padded > plain : padded >= plain;
    return chunk.end() + (isPadded ? 1 : 0);
}

} // namespace

RiffChunkList RiffChunkList::ofFile(const FileHandle& handle, int64_t firstOffset, int64_t end,
                                    size_t mostChunks, ChunkByteOrder byteOrder, int64_t formEnd)
{
    const Region region{handle, end, byteOrder};
    RiffChunkList list;
    RiffChunk chunk;
    for (int64_t offset = firstOffset; list.mChunks.size() < mostChunks;
         offset = offsetAfter(region, chunk)) {
        if (!readHeader(region, offset, chunk))
            break;
        // What some program put behind the whole is no chunk.
        if (offset >= formEnd && !isPrintable(chunk.ident))
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
    return isHeaderLikely({handle, handle.length(), byteOrder}, offset);
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
