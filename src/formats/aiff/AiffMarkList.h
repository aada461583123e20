#pragma once

#include "document/clips/AudioMarker.h"

#include <QByteArray>
#include <set>
#include <vector>

namespace velloria
{

/// The "MARK" chunk of an opened AIFF file (AiffMarkers tells the layout), which a save edits: a marker keeps
/// its ID as long as it is there, so that loops and comments go on to mean it.
class AiffMarkList
{
public:
    AiffMarkList() = default;
    explicit AiffMarkList(const QByteArray& payload);

    bool isEmpty() const { return mEntries.empty(); }

    /// Takes these markers for those of the entries, as far as places and names tell. True when both are the
    /// same, as far as the chunk has room.
    bool pairWith(const std::vector<AudioMarkerPtr>& markers);

    /// The payload for the markers as they are now: new ones get IDs that are free and not among
    /// `identsNamed`. Empty for no marker.
    QByteArray edited(const std::vector<AudioMarkerPtr>& now, const std::set<uint16_t>& identsNamed) const;
    /// True when an entry with one of these IDs will be gone.
    bool losesAnyOf(const std::set<uint16_t>& idents, const std::vector<AudioMarkerPtr>& now) const;

private:
    struct Entry {
        uint16_t ident = 0;
        QByteArray bytes;
    };

    std::vector<Entry> mEntries;
    /// For each entry the marker that it stands for.
    std::vector<AudioMarker> mMarkers;
    /// Behind the last entry.
    QByteArray mRest;
};

} // namespace velloria
