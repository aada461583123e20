#pragma once

#include "document/InstalledMarkers.h"

#include <cstdint>
#include <span>
#include <vector>

namespace velloria
{

/// How one marker list became another, told in little: runs of markers that both have, all moved by the same
/// number of frames, and the markers that only one of them has. A history keeps these in place of lists, so
/// an edit that pushes a hundred thousand markers to the right costs a few bytes of it. Either list can be
/// made from the other. What only one list has is kept as the marker that was in it when it was left, since
/// a name that is taken back in place may be that of a copy.
class MarkerDifference
{
public:
    /// From the list before to that after, and back.
    void redo(InstalledMarkers& markers);
    void undo(InstalledMarkers& markers);
    /// The difference between any two lists: what stands at both ends of both is shared.
    static MarkerDifference between(const std::vector<AudioMarkerPtr>& before,
                                    const std::vector<AudioMarkerPtr>& after);
    /// What InstalledMarkers::splice() would do.
    static MarkerDifference splice(const InstalledMarkers& before, int64_t first, int64_t count,
                                   std::span<const AudioMarkerPtr> others);

private:
    friend class MarkerEdit;

    enum class Kind : int8_t { shared, dropped, added };
    struct Run {
        int64_t count;
        int64_t shift;
        Kind kind;
    };

    void append(Kind kind, int64_t shift);
    void setRuns(int64_t numFirst, int64_t numLast);
    /// What only one of two lists has.
    struct OneSided {
        Kind kind;
        std::vector<AudioMarkerPtr>& markers;
    };
    void exchange(InstalledMarkers& markers, OneSided left, OneSided taken, int sign);

    std::vector<Run> mRuns;
    std::vector<AudioMarkerPtr> mDropped;
    std::vector<AudioMarkerPtr> mAdded;
};

/// Makes a new marker list out of an installed one: every marker of that list, in order, is either left where
/// it is, moved or dropped; new ones may come in between and behind. Markers are moved as copies, for the
/// installed list stays as it is.
class MarkerEdit
{
public:
    explicit MarkerEdit(const std::vector<AudioMarkerPtr>& before);

    void moveTo(const AudioMarkerPtr& marker, int64_t position);
    void drop(const AudioMarkerPtr& marker);
    void add(const AudioMarkerPtr& marker);

    bool hasChange() const { return mHasChange; }
    MarkerList takeList();
    MarkerDifference takeDifference() { return std::move(mDifference); }

private:
    std::vector<AudioMarkerPtr> mMarkers;
    MarkerDifference mDifference;
    bool mHasChange = false;
};

} // namespace velloria
