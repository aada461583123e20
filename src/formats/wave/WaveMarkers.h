#pragma once

#include "document/clips/AudioMarker.h"

#include <QByteArray>
#include <vector>

namespace velloria
{

/// The payload of a WAVE file's private "MARK" chunk, little-endian: a 16-bit count, then for each marker its
/// index (16 bits), position in frames (32 bits) and name as one length byte and up to 255 bytes of UTF-8,
/// with a zero byte behind it where an entry would have an odd length.
namespace WaveMarkers
{

constexpr int64_t mostMarkers = 65535;
constexpr qsizetype longestName = 255;
constexpr int64_t highestPosition = 0xFFFFFFFF;

/// A name as it is stored: UTF-8 of at most 255 bytes, with no character cut in half.
QByteArray storedName(const QString& name);

/// The payload for the first 65535 markers.
QByteArray payloadOfMarkers(const std::vector<AudioMarkerPtr>& markers);

struct Result {
    std::vector<AudioMarkerPtr> markers;
    /// False when the payload ends before all markers are told; those before stay.
    bool isComplete = true;
};
Result markersOfPayload(const QByteArray& payload);

} // namespace WaveMarkers

} // namespace velloria
