#pragma once

#include "document/MarkerEdit.h"

#include <QString>
#include <variant>
#include <vector>

namespace velloria
{

/// All that one step of a history did to the markers, in the order in which it was done: edits of the list,
/// and new names and positions of single markers. Undoing takes them back from the last to the first. What
/// changed one marker in place finds it again by its index, since a list that was made anew holds copies.
class MarkerChanges
{
public:
    /// Notes that `present` is about to be replaced by `next`.
    void addDifference(const MarkerList& present, const MarkerList& next, MarkerDifference difference);
    /// Notes that the present list is about to be changed in place.
    void addSplice(MarkerDifference difference);
    /// Notes name and position of a marker of the present list that is about to be changed in place.
    void addState(int64_t index, const AudioMarker& marker);

    /// Ends the recording. False when nothing is left that changes anything.
    bool finish(const InstalledMarkers& present);

    /// Exchange: from the list after the step to that before it, and back.
    void undo(InstalledMarkers& markers);
    void redo(InstalledMarkers& markers);

private:
    struct MarkerState {
        int64_t index;
        QString name;
        int64_t position;
    };
    using Change = std::variant<MarkerDifference, MarkerState>;

    static void exchange(MarkerState& state, InstalledMarkers& markers);

    /// The list before the first of the lists that were installed in a row at the end of mChanges, and where
    /// those begin; only while recording.
    MarkerList mFirst;
    ptrdiff_t mFirstDifference = 0;
    std::vector<Change> mChanges;
};

} // namespace velloria
