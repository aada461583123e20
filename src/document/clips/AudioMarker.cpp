#include "document/clips/AudioMarker.h"

#include <QCborArray>
#include <QCborMap>
#include <QCborValue>
#include <limits>

namespace velloria
{

namespace
{

constexpr int kArchiveVersion = 1;
constexpr QLatin1String kVersionKey("version");
constexpr QLatin1String kMarkersKey("markers");
constexpr QLatin1String kIdentKey("ident");
constexpr QLatin1String kPositionKey("position");
constexpr QLatin1String kNameKey("name");

/// Null for a value that is no marker.
AudioMarkerPtr markerFromValue(const QCborValue& value)
{
    if (!value.isMap())
        return nullptr;
    const QCborMap map = value.toMap();
    const QCborValue ident = map.value(kIdentKey);
    const QCborValue position = map.value(kPositionKey);
    const QCborValue name = map.value(kNameKey);
    if (!ident.isInteger() || !position.isInteger() || !name.isString())
        return nullptr;
    if (ident.toInteger() < std::numeric_limits<int32_t>::min() ||
        ident.toInteger() > std::numeric_limits<int32_t>::max())
        return nullptr;
    return std::make_shared<AudioMarker>(static_cast<int32_t>(ident.toInteger()), position.toInteger(),
                                         name.toString());
}

std::vector<AudioMarkerPtr> markersFromRecord(const QCborValue& record)
{
    if (!record.isMap())
        return {};
    const QCborMap map = record.toMap();
    if (map.value(kVersionKey).toInteger() != kArchiveVersion || !map.value(kMarkersKey).isArray())
        return {};
    std::vector<AudioMarkerPtr> markers;
    const QCborArray values = map.value(kMarkersKey).toArray();
    for (qsizetype i = 0; i < values.size(); ++i) {
        AudioMarkerPtr marker = markerFromValue(values.at(i));
        if (!marker)
            return {};
        markers.push_back(std::move(marker));
    }
    return markers;
}

} // namespace

AudioMarker::AudioMarker(int32_t ident, int64_t position, const QString& name)
    : mIdent(ident)
    , mPosition(position)
    , mName(name)
{
}

AudioMarkerPtr AudioMarker::markerWithMarker(const AudioMarker& marker)
{
    return std::make_shared<AudioMarker>(marker);
}

double AudioMarker::secondsWithSampleRate(double sampleRate) const
{
    return static_cast<double>(mPosition) / sampleRate;
}

QByteArray archivedMarkers(const MarkerList& markers)
{
    QCborArray values;
    if (markers) {
        for (const AudioMarkerPtr& marker : *markers) {
            values.append(QCborMap{{kIdentKey, marker->ident()},
                                   {kPositionKey, qint64{marker->position()}},
                                   {kNameKey, marker->name()}});
        }
    }
    const QCborMap record{{kVersionKey, kArchiveVersion}, {kMarkersKey, values}};
    return record.toCborValue().toCbor();
}

MarkerList markersFromArchive(const QByteArray& archive)
{
    QCborParserError error;
    const QCborValue record = QCborValue::fromCbor(archive, &error);
    // Chunks may be padded, so bytes after the record do not matter.
    const bool complete = error.error == QCborError::NoError || error.error == QCborError::GarbageAtEnd;
    return std::make_shared<const std::vector<AudioMarkerPtr>>(complete ? markersFromRecord(record)
                                                                        : std::vector<AudioMarkerPtr>());
}

} // namespace velloria
