#include "formats/caf/CafChunkList.h"

#include <QtEndian>
#include <algorithm>

namespace velloria
{

namespace
{

// Far more than any program writes.
constexpr size_t mostChunks = 4096;

} // namespace

CafChunkList CafChunkList::ofFile(const FileHandle& handle)
{
    CafChunkList list;
    const int64_t length = handle.length();
    int64_t offset = fileHeaderLength;
    while (offset <= length - CafChunk::headerLength && list.mChunks.size() < mostChunks) {
        const QByteArray header = handle.readAt(offset, CafChunk::headerLength);
        if (header.size() < CafChunk::headerLength)
            break;
        CafChunk chunk;
        chunk.type = qFromBigEndian<quint32>(header.constData());
        chunk.offset = offset;
        const auto size = qFromBigEndian<qint64>(header.constData() + 4);
        const int64_t sizeThere = length - chunk.payloadOffset();
        chunk.isOpenEnded = size < 0;
        chunk.isComplete = size <= sizeThere;
        chunk.size = chunk.isOpenEnded ? sizeThere : std::min<int64_t>(size, sizeThere);
        list.mChunks.push_back(chunk);
        if (chunk.isOpenEnded)
            break;
        offset = chunk.end();
    }
    return list;
}

const CafChunk* CafChunkList::find(FourCharCode type) const
{
    const auto found = std::find_if(mChunks.begin(), mChunks.end(),
                                    [type](const CafChunk& chunk) { return chunk.type == type; });
    return found == mChunks.end() ? nullptr : &*found;
}

} // namespace velloria
