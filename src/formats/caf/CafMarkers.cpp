#include "formats/caf/CafMarkers.h"

#include "formats/streams/BigEndianOutputStream.h"

#include <QtEndian>
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <unordered_map>

namespace velloria::CafMarkers
{

namespace
{

constexpr qsizetype stringsHeader = 4;
constexpr qsizetype stringLength = 12;
constexpr double twoTo63 = 9223372036854775808.0;
constexpr double twoTo64 = 2 * twoTo63;

double storedPosition(int64_t position)
{
    return static_cast<double>(__builtin_bswap64(static_cast<uint64_t>(std::max<int64_t>(0, position))));
}

/// Reversed bytes of a frame number below 2^56 make a number of at least 2^56 or 0, and such a float read the
/// other way round is next to 0, as is a standard float of a frame number read this way.
int64_t positionOfBytes(const char* bytes, bool* isAltered)
{
    if (isOwnPosition(bytes)) {
        double own;
        std::memcpy(&own, bytes, sizeof own);
        const uint64_t position = __builtin_bswap64(static_cast<uint64_t>(own));
        return static_cast<int64_t>(std::min<uint64_t>(position, std::numeric_limits<int64_t>::max()));
    }
    const auto standard = std::bit_cast<double>(qFromBigEndian<quint64>(bytes));
    const bool isPosition = standard >= 0.0 && standard < twoTo63;
    *isAltered = *isAltered || !isPosition || standard != std::round(standard);
    return isPosition ? static_cast<int64_t>(std::round(standard)) : 0;
}

/// How many entries there really are.
qsizetype numEntries(const QByteArray& payload, qsizetype countOffset, qsizetype header, qsizetype entry,
                     bool* isComplete)
{
    if (payload.size() < header) {
        *isComplete = *isComplete && payload.isEmpty();
        return 0;
    }
    const auto told = static_cast<qsizetype>(qFromBigEndian<quint32>(payload.constData() + countOffset));
    const qsizetype there = (payload.size() - header) / entry;
    *isComplete = *isComplete && told <= there;
    return std::min(told, there);
}

void nameMarkers(const QByteArray& payload, Result& result)
{
    std::unordered_map<int32_t, AudioMarker*> markers;
    for (const AudioMarkerPtr& marker : result.markers)
        markers.emplace(marker->ident(), marker.get());
    const qsizetype count = numEntries(payload, 0, stringsHeader, stringLength, &result.isComplete);
    const QByteArrayView text =
        QByteArrayView(payload).sliced(std::min(payload.size(), stringsHeader + count * stringLength));
    for (qsizetype i = 0; i < count; ++i) {
        const char* const entry = payload.constData() + stringsHeader + i * stringLength;
        const auto marker = markers.find(qFromBigEndian<qint32>(entry));
        const auto start = qFromBigEndian<qint64>(entry + 4);
        if (start < 0 || start >= text.size()) {
            result.isComplete = false;
            continue;
        }
        const QByteArrayView rest = text.sliced(start);
        const qsizetype end = rest.indexOf('\0');
        if (marker == markers.end())
            ++result.numOtherNames;
        else
            marker->second->setName(QString::fromUtf8(end < 0 ? rest : rest.first(end)));
    }
}

/// Kind, clock time and channel of an entry, where programs that do not use them leave zeros or ones.
bool tellsMore(const char* entry)
{
    const auto time = qFromBigEndian<quint64>(entry + 16);
    const bool hasTime = time != 0 && time != std::numeric_limits<quint64>::max();
    return qFromBigEndian<quint32>(entry) != 0 || hasTime || qFromBigEndian<quint32>(entry + 24) != 0;
}

} // namespace

bool isOwnPosition(const char* bytes)
{
    double own;
    std::memcpy(&own, bytes, sizeof own);
    return own >= 1.0 && own < twoTo64;
}

void storePosition(int64_t position, bool isOwn, char* bytes)
{
    const double own = storedPosition(position);
    const auto standard = static_cast<double>(std::max<int64_t>(0, position));
    if (isOwn)
        std::memcpy(bytes, &own, sizeof own);
    else
        qToBigEndian<quint64>(std::bit_cast<quint64>(standard), bytes);
}

QByteArray storedName(const QString& name)
{
    return name.toUtf8().replace('\0', "");
}

std::vector<Name> namesOfPayload(const QByteArray& stringsPayload)
{
    std::vector<Name> names;
    bool isComplete = true;
    const qsizetype count = numEntries(stringsPayload, 0, stringsHeader, stringLength, &isComplete);
    const QByteArray text = stringsPayload.mid(stringsHeader + count * stringLength);
    for (qsizetype i = 0; i < count; ++i) {
        const char* const entry = stringsPayload.constData() + stringsHeader + i * stringLength;
        const auto start = qFromBigEndian<qint64>(entry + 4);
        const bool isInside = start >= 0 && start < text.size();
        const qsizetype end = isInside ? text.indexOf('\0', start) : -1;
        names.push_back({qFromBigEndian<quint32>(entry),
                         isInside ? text.mid(start, end < 0 ? -1 : end - start) : QByteArray()});
    }
    return names;
}

QByteArray stringsPayloadOf(const std::vector<Name>& names)
{
    if (names.empty())
        return {};
    BigEndianOutputStream stream;
    stream.writeUInt32(static_cast<uint32_t>(names.size()));
    QByteArray text;
    for (const Name& name : names) {
        stream.writeUInt32(name.ident);
        stream.writeSInt64(text.size());
        text += name.text + '\0';
    }
    stream.appendData(text);
    return stream.data();
}

QByteArray markerPayload(const std::vector<AudioMarkerPtr>& markers)
{
    BigEndianOutputStream stream;
    stream.writeUInt32(0);
    stream.writeUInt32(static_cast<uint32_t>(markers.size()));
    uint32_t ident = 0;
    for (const AudioMarkerPtr& marker : markers) {
        const double position = storedPosition(marker->position());
        stream.writeUInt32(0);
        stream.appendBytes(&position, sizeof position);
        stream.writeUInt32(++ident);
        stream.writeSInt64(-1);
        stream.writeUInt32(0);
    }
    return stream.data();
}

QByteArray stringsPayload(const std::vector<AudioMarkerPtr>& markers)
{
    std::vector<Name> names;
    names.reserve(markers.size());
    for (const AudioMarkerPtr& marker : markers)
        names.push_back({static_cast<uint32_t>(names.size() + 1), storedName(marker->name())});
    return stringsPayloadOf(names);
}

Result markersOfPayloads(const QByteArray& markerPayload, const QByteArray& stringsPayload)
{
    Result result;
    const qsizetype count = numEntries(markerPayload, 4, markersHeader, markerLength, &result.isComplete);
    result.markers.reserve(static_cast<size_t>(count));
    for (qsizetype i = 0; i < count; ++i) {
        const char* const entry = markerPayload.constData() + markersHeader + i * markerLength;
        result.tellsMore |= tellsMore(entry);
        const auto ident = qFromBigEndian<qint32>(entry + 12);
        result.hasOtherNumbers |= ident != i + 1;
        result.markers.push_back(std::make_shared<AudioMarker>(
            ident, positionOfBytes(entry + 4, &result.hasOtherPositions), QStringLiteral("Marker")));
    }
    nameMarkers(stringsPayload, result);
    return result;
}

} // namespace velloria::CafMarkers
