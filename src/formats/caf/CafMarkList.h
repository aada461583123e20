#pragma once

#include "document/clips/AudioMarker.h"
#include "formats/caf/CafMarkers.h"

#include <QByteArray>
#include <cstdint>
#include <vector>

namespace velloria
{

/// The chunks "mark" and "strg" of an opened CAF file (CafMarkers tells their layouts), which a save edits:
/// kinds, clock times and channels of markers stay, and so do their numbers and the names of other things.
class CafMarkList
{
public:
    CafMarkList() = default;
    CafMarkList(const QByteArray& markerPayload, const QByteArray& stringsPayload);

    bool isEmpty() const { return mEntries.empty(); }

    struct Payloads {
        QByteArray markers;
        QByteArray strings;
    };
    /// For the markers as they are now; as they were read while nobody changed one.
    Payloads edited(const std::vector<AudioMarkerPtr>& now) const;

    /// After a save: the entries stand for these markers.
    void takeIdentsOf(const std::vector<AudioMarkerPtr>& markers);

private:
    class Editing;

    QByteArray mMarkerPayload;
    QByteArray mStringsPayload;
    std::vector<QByteArray> mEntries;
    /// For each entry the marker that it stands for.
    std::vector<AudioMarker> mMarkers;
    std::vector<CafMarkers::Name> mNames;
};

} // namespace velloria
