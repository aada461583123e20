#include "document/MarkerEdit.h"

#include <algorithm>

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
    difference.mRuns = {{numFirst, 0, Kind::shared},
                        {std::ssize(difference.mDropped), 0, Kind::dropped},
                        {std::ssize(difference.mAdded), 0, Kind::added},
                        {numLast, 0, Kind::shared}};
    std::erase_if(difference.mRuns, [](const Run& run) { return run.count == 0; });
    return difference;
}

MarkerList MarkerDifference::after(const std::vector<AudioMarkerPtr>& before)
{
    return otherList(before, {Kind::dropped, mDropped}, {Kind::added, mAdded}, 1);
}

MarkerList MarkerDifference::before(const std::vector<AudioMarkerPtr>& after)
{
    return otherList(after, {Kind::added, mAdded}, {Kind::dropped, mDropped}, -1);
}

MarkerList MarkerDifference::otherList(const std::vector<AudioMarkerPtr>& list, OneSided left, OneSided taken,
                                       int sign)
{
    std::vector<AudioMarkerPtr> other;
    other.reserve(list.size() + taken.markers.size());
    auto next = list.begin();
    auto nextLeft = left.markers.begin();
    auto nextTaken = taken.markers.begin();
    for (const Run& run : mRuns) {
        if (run.kind == taken.kind) {
            other.insert(other.end(), nextTaken, nextTaken + run.count);
            nextTaken += run.count;
            continue;
        }
        const auto end = next + run.count;
        if (run.kind == left.kind) {
            nextLeft = std::copy(next, end, nextLeft);
        } else if (run.shift == 0) {
            other.insert(other.end(), next, end);
        } else {
            std::transform(next, end, std::back_inserter(other), [&](const AudioMarkerPtr& marker) {
                return movedCopy(marker, marker->position() + sign * run.shift);
            });
        }
        next = end;
    }
    return std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(other));
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
