#pragma once

#include "document/MarkerSequence.h"

#include <optional>
#include <span>
#include <vector>

namespace velloria
{

/// The markers of a document: in the order of its list, and in that of their positions. They can be changed
/// one by one without a copy of all; the lists that are handed out, which never change, are made when
/// somebody asks. Main thread.
class InstalledMarkers
{
public:
    /// Never null.
    const MarkerList& list() const;
    /// Sorted by position; of several at one frame the first of the list comes first. Never null.
    const MarkerList& ordered() const;
    int64_t count() const { return mList ? std::ssize(*mList) : sequence().size(); }
    const AudioMarkerPtr& at(int64_t index) const { return sequence().at(index); }
    std::vector<AudioMarkerPtr> slice(int64_t first, int64_t count) const
    {
        return sequence().slice(first, count);
    }
    /// Index in the list; -1 for a marker that is not there.
    int64_t indexOf(const AudioMarkerPtr& marker) const;

    /// The one at an index of ordered().
    AudioMarkerPtr orderedAt(int64_t index) const { return order().at(index); }
    /// The first of ordered() that is so; null for none.
    AudioMarkerPtr firstOrdered(const MarkerSequence::Test& isSo) const;
    AudioMarkerPtr markerAtFrame(int64_t frame) const;

    /// Null stands for an empty list.
    void install(const MarkerList& list);
    /// Puts others in the place of markers first .. first + count - 1.
    void splice(int64_t first, int64_t count, std::span<const AudioMarkerPtr> others);
    /// Moves a marker in place.
    void setPosition(const AudioMarkerPtr& marker, int64_t position);

private:
    MarkerSequence& sequence() const;
    const MarkerSequence& order() const;
    void forgetOrder();
    /// In the order, which is known: how many markers lie before a frame.
    int64_t countBefore(int64_t frame) const;
    int64_t orderedIndexOf(const AudioMarkerPtr& marker) const;
    bool takeOutOfOrder(const AudioMarkerPtr& marker);
    void putInOrder(const AudioMarkerPtr& marker);

    // Each is unset until somebody asks, but for one of the first two.
    mutable std::optional<MarkerSequence> mSequence;
    mutable MarkerList mList;
    mutable MarkerList mOrdered;
    mutable std::optional<MarkerSequence> mOrder;
};

} // namespace velloria
