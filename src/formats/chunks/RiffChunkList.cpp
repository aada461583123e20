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

int64_t offsetAfter(const Region& region, const RiffChunk& chunk)
{
    const QByteArray byte = region.handle.readAt(chunk.end(), 1);
    const bool isLikelyPad = byte.startsWith('\0') && isHeaderLikely(region, chunk.end() + 1);
    const bool isPadded = isLikelyPad || (chunk.size % 2 != 0 && !isHeaderLikely(region, chunk.end()));
    return chunk.end() + (isPadded ? 1 : 0);
}

} // namespace

RiffChunkList RiffChunkList::ofFile(const FileHandle& handle, int64_t firstOffset, int64_t end,
                                    size_t mostChunks, ChunkByteOrder byteOrder)
{
    const Region region{handle, end, byteOrder};
    RiffChunkList list;
    RiffChunk chunk;
    for (int64_t offset = firstOffset; list.mChunks.size() < mostChunks;
         offset = offsetAfter(region, chunk)) {
        if (!readHeader(region, offset, chunk))
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
