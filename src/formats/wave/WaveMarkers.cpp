#include "formats/wave/WaveMarkers.h"

#include <QtEndian>
#include <algorithm>

namespace velloria::WaveMarkers
{

namespace
{

// Index, position and the name's length byte.
constexpr qsizetype entryHeaderLength = 7;

bool isContinuationByte(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

template <typename Integer> void append(QByteArray& bytes, Integer value)
{
    const qsizetype offset = bytes.size();
    bytes.resize(offset + qsizetype{sizeof(Integer)});
    qToLittleEndian(value, bytes.data() + offset);
}

qsizetype entryLength(qsizetype nameLength)
{
    return entryHeaderLength + nameLength + (nameLength % 2 == 0 ? 1 : 0);
}

} // namespace

QByteArray storedName(const QString& name)
{
    QByteArray bytes = name.toUtf8();
    if (bytes.size() <= longestName)
        return bytes;
    qsizetype length = longestName;
    while (length > 0 && isContinuationByte(bytes[length]))
        --length;
    bytes.truncate(length);
    return bytes;
}

QByteArray payloadOfMarkers(const std::vector<AudioMarkerPtr>& markers)
{
    const auto count =
        static_cast<size_t>(std::min<int64_t>(static_cast<int64_t>(markers.size()), mostMarkers));
    QByteArray payload;
    append(payload, static_cast<quint16>(count));
    for (size_t index = 0; index < count; ++index) {
        const QByteArray name = storedName(markers[index]->name());
        append(payload, static_cast<quint16>(index));
        append(payload,
               static_cast<quint32>(std::clamp<int64_t>(markers[index]->position(), 0, highestPosition)));
        append(payload, static_cast<quint8>(name.size()));
        payload.append(name);
        if (name.size() % 2 == 0)
            payload.append('\0');
    }
    return payload;
}

Result markersOfPayload(const QByteArray& payload)
{
    Result result;
    const char* const bytes = payload.constData();
    const int count = payload.size() >= 2 ? qFromLittleEndian<quint16>(bytes) : 0;
    result.isComplete = payload.size() >= 2;
    qsizetype offset = 2;
    for (int i = 0; i < count; ++i) {
        const bool hasHeader = offset + entryHeaderLength <= payload.size();
        const qsizetype nameLength = hasHeader ? static_cast<quint8>(bytes[offset + 6]) : 0;
        if (!hasHeader || offset + entryHeaderLength + nameLength > payload.size()) {
            result.isComplete = false;
            break;
        }
        const QString name = QString::fromUtf8(bytes + offset + entryHeaderLength, nameLength);
        result.markers.push_back(std::make_shared<AudioMarker>(
            qFromLittleEndian<qint16>(bytes + offset), qFromLittleEndian<quint32>(bytes + offset + 2), name));
        offset += entryLength(nameLength);
    }
    return result;
}

} // namespace velloria::WaveMarkers
