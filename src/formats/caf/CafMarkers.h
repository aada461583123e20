#pragma once

#include "document/clips/AudioMarker.h"

#include <QByteArray>
#include <vector>

namespace velloria
{

/// Markers of CAF files: positions and numbers in the "mark" chunk, names in the "strg" chunk. The position
/// is not the format's big-endian float but one of our own: the frame number as an unsigned 64-bit integer,
/// its bytes reversed, its value as a float of the machine's byte order. Both are read: they do not overlap.
namespace CafMarkers
{

constexpr qsizetype markersHeader = 8;
constexpr qsizetype markerLength = 28;

/// A position as a file has it: 8 bytes of our own kind, or of the format's.
bool isOwnPosition(const char* bytes);
void storePosition(int64_t position, bool isOwn, char* bytes);

/// A name in UTF-8; a zero would end it early.
QByteArray storedName(const QString& name);
struct Name {
    uint32_t ident = 0;
    QByteArray text;
};
/// As far as the payload goes.
std::vector<Name> namesOfPayload(const QByteArray& stringsPayload);
/// Empty for no name.
QByteArray stringsPayloadOf(const std::vector<Name>& names);

/// The payload of "mark": SMPTE type and count (32 bits each), then 28 bytes a marker.
QByteArray markerPayload(const std::vector<AudioMarkerPtr>& markers);
/// The payload of "strg": count, a number and an offset a name, then the names, each ended by a zero.
QByteArray stringsPayload(const std::vector<AudioMarkerPtr>& markers);

struct Result {
    std::vector<AudioMarkerPtr> markers;
    /// False when the chunks end before what they announce.
    bool isComplete = true;
    /// True when they tell more than positions and names: kinds, clock times, channels.
    bool tellsMore = false;
    /// True when positions lie between two frames or before the first, and when the markers are numbered
    /// otherwise than they will be: from 1 on.
    bool hasOtherPositions = false;
    bool hasOtherNumbers = false;
    /// Names of no marker here.
    int64_t numOtherNames = 0;
};
/// Markers without a name are called "Marker".
Result markersOfPayloads(const QByteArray& markerPayload, const QByteArray& stringsPayload);

} // namespace CafMarkers

} // namespace velloria
