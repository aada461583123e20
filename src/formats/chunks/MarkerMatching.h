#pragma once

#include "document/clips/AudioMarker.h"

#include <span>
#include <vector>

namespace velloria
{

/// Tells which of the markers that a file was read with (or saved with last) a document still has, so that a
/// save changes the entries of those that were moved or renamed and nothing else. Markers keep their number
/// through every edit of a document, but pasted ones can have it too, and new ones have none (0): so place,
/// name and number are looked at together first, then by what is left of them.
class MarkerMatching
{
public:
    /// Both must live as long as this.
    MarkerMatching(std::span<const AudioMarker> stored, std::span<const AudioMarkerPtr> now);

    /// Where the stored marker with that index is now, and its name; null when it is gone.
    const AudioMarker* markerOf(size_t stored) const;
    /// Those that were not stored, in their order.
    std::vector<AudioMarkerPtr> added() const;

private:
    template <typename KeyOf> void match(KeyOf keyOf);

    static constexpr size_t none = SIZE_MAX;

    std::span<const AudioMarker> mStored;
    std::span<const AudioMarkerPtr> mNow;
    /// Index of the marker for each stored one.
    std::vector<size_t> mMatches;
    std::vector<bool> mIsTaken;
};

} // namespace velloria
