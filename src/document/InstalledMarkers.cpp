#include "document/InstalledMarkers.h"

#include <algorithm>

namespace velloria
{

namespace
{

// Beyond it sorting anew is quicker.
constexpr int64_t kMostOrderedSingly = 16;
// How far a marker's place in the list is looked for around its place among the positions.
constexpr int64_t kNear = 2048;

MarkerList listOf(const MarkerSequence& sequence)
{
    return std::make_shared<const std::vector<AudioMarkerPtr>>(sequence.toVector());
}

} // namespace

const MarkerList& InstalledMarkers::list() const
{
    if (!mList)
        mList = listOf(sequence());
    return mList;
}

const MarkerList& InstalledMarkers::ordered() const
{
    if (!mOrdered)
        mOrdered = listOf(order());
    return mOrdered;
}

MarkerSequence& InstalledMarkers::sequence() const
{
    if (!mSequence)
        mSequence = mList ? MarkerSequence(*mList) : MarkerSequence();
    return *mSequence;
}

const MarkerSequence& InstalledMarkers::order() const
{
    if (!mOrder) {
        std::vector<AudioMarkerPtr> markers = *list();
        std::stable_sort(
            markers.begin(), markers.end(),
            [](const AudioMarkerPtr& a, const AudioMarkerPtr& b) { return a->position() < b->position(); });
        mOrder.emplace(markers);
    }
    return *mOrder;
}

void InstalledMarkers::forgetOrder()
{
    mOrder.reset();
    mOrdered = nullptr;
}

int64_t InstalledMarkers::countBefore(int64_t frame) const
{
    return order().countOfFirst([frame](const AudioMarkerPtr& marker) { return marker->position() < frame; });
}

int64_t InstalledMarkers::orderedIndexOf(const AudioMarkerPtr& marker) const
{
    return order().find(marker, countBefore(marker->position()));
}

AudioMarkerPtr InstalledMarkers::firstOrdered(const MarkerSequence::Test& isSo) const
{
    const int64_t index = order().find(isSo);
    return index < 0 ? nullptr : order().at(index);
}

AudioMarkerPtr InstalledMarkers::markerAtFrame(int64_t frame) const
{
    const int64_t index = countBefore(frame);
    return index < count() && order().at(index)->position() == frame ? order().at(index) : nullptr;
}

int64_t InstalledMarkers::indexOf(const AudioMarkerPtr& marker) const
{
    // Most lists are nearly in the order of the positions.
    const int64_t guess = mOrder ? orderedIndexOf(marker) : -1;
    const int64_t near =
        guess < 0 ? -1 : sequence().find(marker, std::max<int64_t>(0, guess - kNear), guess + kNear);
    return near >= 0 ? near : sequence().find(marker);
}

void InstalledMarkers::install(const MarkerList& list)
{
    mSequence.reset();
    mList = list;
    forgetOrder();
}

void InstalledMarkers::splice(int64_t first, int64_t count, std::span<const AudioMarkerPtr> others)
{
    if (count + std::ssize(others) > kMostOrderedSingly)
        forgetOrder();
    for (int64_t i = first; mOrder && i < first + count; ++i)
        takeOutOfOrder(at(i));
    sequence().splice(first, count, others);
    mList = nullptr;
    for (size_t i = 0; mOrder && i < others.size(); ++i)
        putInOrder(others[i]);
}

bool InstalledMarkers::takeOutOfOrder(const AudioMarkerPtr& marker)
{
    const int64_t index = orderedIndexOf(marker);
    if (index >= 0)
        mOrder->splice(index, 1, {});
    mOrdered = nullptr;
    return index >= 0;
}

void InstalledMarkers::putInOrder(const AudioMarkerPtr& marker)
{
    int64_t first = countBefore(marker->position());
    int64_t end = countBefore(marker->position() + 1);
    // Which of several at one frame comes first the list decides; mostly a new one is the last.
    if (first < end && at(count() - 1) != marker) {
        const int64_t index = sequence().find(marker);
        while (first < end) {
            const int64_t middle = first + (end - first) / 2;
            if (sequence().find(mOrder->at(middle)) < index)
                first = middle + 1;
            else
                end = middle;
        }
    }
    mOrder->splice(end, 0, std::span(&marker, 1));
    mOrdered = nullptr;
}

void InstalledMarkers::setPosition(const AudioMarkerPtr& marker, int64_t position)
{
    // The caller's may be the very entry of the order that goes.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const AudioMarkerPtr held = marker;
    const bool isOurs = mOrder && takeOutOfOrder(held);
    held->setPosition(position);
    if (isOurs)
        putInOrder(held);
}

} // namespace velloria
