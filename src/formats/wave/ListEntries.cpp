#include "formats/wave/ListEntries.h"

#include "formats/chunks/RiffChunkList.h"

#include <QtEndian>
#include <algorithm>

namespace velloria
{

ListEntry ListEntry::ofValue(FourCharCode ident, const QByteArray& value)
{
    return {ident, riffChunkHeader(ident, value.size()) + value + QByteArray(value.size() % 2, '\0'), 0};
}

QByteArray ListEntry::value() const
{
    return bytes.mid(RiffChunk::headerLength, qFromLittleEndian<quint32>(bytes.constData() + 4));
}

ListEntries ListEntries::ofPayload(const QByteArray& payload, size_t mostEntries)
{
    constexpr qsizetype typeLength = 4;
    ListEntries list;
    qsizetype offset = std::min(typeLength, payload.size());
    while (offset + RiffChunk::headerLength <= payload.size() && list.entries.size() < mostEntries) {
        const auto ident = qFromBigEndian<quint32>(payload.constData() + offset);
        const qsizetype size = qFromLittleEndian<quint32>(payload.constData() + offset + 4);
        const qsizetype start = offset + RiffChunk::headerLength;
        if (size > payload.size() - start)
            break;
        qsizetype end = start + size;
        if (size % 2 != 0 && end < payload.size() && payload[end] == '\0')
            ++end;
        list.entries.push_back({ident, payload.mid(offset, end - offset), offset});
        offset = end;
    }
    list.rest = payload.mid(offset);
    return list;
}

} // namespace velloria
