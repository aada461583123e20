#pragma once

#include "document/clips/AudioMarker.h"

#include <QByteArray>
#include <vector>

namespace velloria
{

/// The payload of an AIFF file's "MARK" chunk, big-endian: a 16-bit count, then for each marker its ID (16
/// bits), position in frames (32 bits) and name as one length byte and up to 255 bytes of Mac Roman, with a
/// zero byte behind it where length byte and name together would be odd.
namespace AiffMarkers
{

/// The payload for the first 65535 markers. IDs are the markers' indices, from 0 on.
QByteArray payloadOfMarkers(const std::vector<AudioMarkerPtr>& markers);

struct Result {
    std::vector<AudioMarkerPtr> markers;
    /// False when the payload ends before all markers are told; those before stay.
    bool isComplete = true;
};
Result markersOfPayload(const QByteArray& payload);

/// True when the loops of an "INST" chunk or the comments of a "COMT" chunk name markers by their IDs, and
/// these are others than a save will give them.
bool losesReferences(const std::vector<AudioMarkerPtr>& markers, const QByteArray& instrument,
                     const QByteArray& comments);

} // namespace AiffMarkers

} // namespace velloria
