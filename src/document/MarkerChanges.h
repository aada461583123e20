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
    /// Notes name and position of a marker of the present list that is about to be changed in place.
    void addState(const std::vector<AudioMarkerPtr>& present, const AudioMarkerPtr& marker);

    /// Ends the recording. False when nothing is left that changes anything.
    bool finish(const MarkerList& present);

    /// Exchange: from the list after the step to that before it, and back.
    MarkerList undone(MarkerList present);
    MarkerList redone(MarkerList present);

private:
    struct MarkerState {
        size_t index;
        QString name;
        int64_t position;
    };
    using Change = std::variant<MarkerDifference, MarkerState>;

    static void exchange(MarkerState& state, const std::vector<AudioMarkerPtr>& markers);

    /// The list before the first of the differences at the end of mChanges; only while recording.
    MarkerList mFirst;
    std::vector<Change> mChanges;
};

} // namespace velloria
