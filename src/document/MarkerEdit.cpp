#include "document/MarkerEdit.h"

#include <algorithm>
#include <iterator>
#include <numeric>

namespace velloria
{

namespace
{

AudioMarkerPtr movedCopy(const AudioMarkerPtr& marker, int64_t position)
{
    AudioMarkerPtr copy = AudioMarker::markerWithMarker(*marker);
    copy->setPosition(position);
    return copy;
}

} // namespace

void MarkerDifference::append(Kind kind, int64_t shift)
{
    if (!mRuns.empty() && mRuns.back().kind == kind && mRuns.back().shift == shift)
        ++mRuns.back().count;
    else
        mRuns.push_back({1, shift, kind});
}

MarkerDifference MarkerDifference::between(const std::vector<AudioMarkerPtr>& before,
                                           const std::vector<AudioMarkerPtr>& after)
{
    const auto shorter = std::min(std::ssize(before), std::ssize(after));
    const auto isSame = [](const AudioMarkerPtr& a, const AudioMarkerPtr& b) { return a == b; };
    const auto firstEnds = std::mismatch(before.begin(), before.begin() + shorter, after.begin(), isSame);
    const int64_t numFirst = firstEnds.first - before.begin();
    const auto lastEnds =
        std::mismatch(before.rbegin(), before.rbegin() + (shorter - numFirst), after.rbegin(), isSame);
    const int64_t numLast = lastEnds.first - before.rbegin();

    MarkerDifference difference;
    difference.mDropped.assign(before.begin() + numFirst, before.end() - numLast);
    difference.mAdded.assign(after.begin() + numFirst, after.end() - numLast);
    difference.setRuns(numFirst, numLast);
    return difference;
}

MarkerDifference MarkerDifference::splice(const InstalledMarkers& before, int64_t first, int64_t count,
                                          std::span<const AudioMarkerPtr> others)
{
    MarkerDifference difference;
    difference.mDropped = before.slice(first, count);
    difference.mAdded.assign(others.begin(), others.end());
    difference.setRuns(first, before.count() - first - count);
    return difference;
}

void MarkerDifference::setRuns(int64_t numFirst, int64_t numLast)
{
    mRuns = {{numFirst, 0, Kind::shared},
             {std::ssize(mDropped), 0, Kind::dropped},
             {std::ssize(mAdded), 0, Kind::added},
             {numLast, 0, Kind::shared}};
    std::erase_if(mRuns, [](const Run& run) { return run.count == 0; });
}

void MarkerDifference::redo(InstalledMarkers& markers)
{
    exchange(markers, {Kind::dropped, mDropped}, {Kind::added, mAdded}, 1);
}

void MarkerDifference::undo(InstalledMarkers& markers)
{
    exchange(markers, {Kind::added, mAdded}, {Kind::dropped, mDropped}, -1);
}

void MarkerDifference::exchange(InstalledMarkers& markers, OneSided left, OneSided taken, int sign)
{
    const auto isUntouched = [](const Run& run) { return run.kind == Kind::shared && run.shift == 0; };
    // What stays at both ends is not even looked at.
    const auto first = std::find_if_not(mRuns.begin(), mRuns.end(), isUntouched);
    const auto last = std::find_if_not(mRuns.rbegin(), std::reverse_iterator(first), isUntouched).base();
    const auto add = [](int64_t sum, const Run& run) { return sum + run.count; };
    const auto addPresent = [&](int64_t sum, const Run& run) {
        return run.kind == taken.kind ? sum : sum + run.count;
    };
    const int64_t numFirst = std::accumulate(mRuns.begin(), first, int64_t{0}, add);
    const int64_t count = std::accumulate(first, last, int64_t{0}, addPresent);
    const std::vector<AudioMarkerPtr> present = markers.slice(numFirst, count);
    auto next = present.begin();
    auto nextLeft = left.markers.begin();
    auto nextTaken = taken.markers.begin();
    std::vector<AudioMarkerPtr> others;
    for (auto run = first; run != last; ++run) {
        if (run->kind == taken.kind) {
            others.insert(others.end(), nextTaken, nextTaken + run->count);
            nextTaken += run->count;
            continue;
        }
        const auto end = next + run->count;
        if (run->kind == left.kind) {
            nextLeft = std::copy(next, end, nextLeft);
        } else if (run->shift == 0) {
            others.insert(others.end(), next, end);
        } else {
            std::transform(next, end, std::back_inserter(others), [&](const AudioMarkerPtr& marker) {
                return movedCopy(marker, marker->position() + sign * run->shift);
            });
        }
        next = end;
    }
    markers.splice(numFirst, count, others);
}

MarkerEdit::MarkerEdit(const std::vector<AudioMarkerPtr>& before)
{
    mMarkers.reserve(before.size() + 1);
}

void MarkerEdit::moveTo(const AudioMarkerPtr& marker, int64_t position)
{
    const int64_t shift = position - marker->position();
    mMarkers.push_back(shift == 0 ? marker : movedCopy(marker, position));
    mDifference.append(MarkerDifference::Kind::shared, shift);
    mHasChange |= shift != 0;
}

void MarkerEdit::drop(const AudioMarkerPtr& marker)
{
    mDifference.mDropped.push_back(marker);
    mDifference.append(MarkerDifference::Kind::dropped, 0);
    mHasChange = true;
}

void MarkerEdit::add(const AudioMarkerPtr& marker)
{
    mMarkers.push_back(marker);
    mDifference.mAdded.push_back(marker);
    mDifference.append(MarkerDifference::Kind::added, 0);
    mHasChange = true;
}

MarkerList MarkerEdit::takeList()
{
    return std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(mMarkers));
}

} // namespace velloria
