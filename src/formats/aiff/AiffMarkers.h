#pragma once

#include "document/clips/AudioMarker.h"

#include <QByteArray>
#include <set>
#include <vector>

namespace velloria
{

/// The payload of an AIFF file's "MARK" chunk, big-endian: a 16-bit count, then for each marker its ID (16
/// bits), position in frames (32 bits) and name as one length byte and up to 255 bytes of Mac Roman, with a
/// zero byte behind it where length byte and name together would be odd.
namespace AiffMarkers
{

constexpr int64_t mostMarkers = 65535;
constexpr int64_t highestPosition = 0xFFFFFFFF;
// ID, position and the name's length byte.
constexpr int64_t entryHeaderLength = 7;

/// The payload for the first 65535 markers. IDs are the markers' indices, from 0 on.
QByteArray payloadOfMarkers(const std::vector<AudioMarkerPtr>& markers);

/// A name as it is stored: Mac Roman of at most 255 bytes.
QByteArray storedName(const QString& name);
/// The entry of a marker, with the zero byte behind its name.
QByteArray entryOf(uint16_t ident, const AudioMarker& marker);
/// The IDs that loops of an "INST" and comments of a "COMT" chunk name.
std::set<uint16_t> identsNamed(const QByteArray& instrument, const QByteArray& comments);

struct Result {
    std::vector<AudioMarkerPtr> markers;
    /// False when the payload ends before all markers are told; those before stay.
    bool isComplete = true;
};
Result markersOfPayload(const QByteArray& payload);

/// The markers of a file and what its IDs mean.
struct Numbering {
    /// Null for none.
    MarkerList markers;
    /// IDs are the markers' indices, as a save writes them; otherwise the numbers that they have.
    bool isByIndex = false;
};

/// True when a loop of an "INST" chunk or a comment of a "COMT" chunk names an ID that means another marker,
/// or none, once `written` are the file's markers. Markers are the same when they were only moved or renamed.
bool movesReferences(const QByteArray& instrument, const QByteArray& comments, const Numbering& opened,
                     const MarkerList& written);

} // namespace AiffMarkers

} // namespace velloria
