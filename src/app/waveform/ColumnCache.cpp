#include "app/waveform/ColumnCache.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

std::span<const float> ColumnCache::columns(int32_t track, int64_t first, int64_t count,
                                            double framesPerColumn)
{
    if (framesPerColumn != mFramesPerColumn) {
        mTracks.clear();
        mFramesPerColumn = framesPerColumn;
    }
    if (static_cast<size_t>(track) >= mTracks.size())
        mTracks.resize(static_cast<size_t>(track) + 1);
    TrackColumns& columns = mTracks[static_cast<size_t>(track)];
    if (first < columns.first || first + count > columns.end())
        moveTo(columns, first, count);
    fillUnknown(columns, track);
    const auto offset = static_cast<size_t>(2 * (first - columns.first));
    return std::span<const float>(columns.pairs).subspan(offset, static_cast<size_t>(2 * count));
}

void ColumnCache::invalidateFrames(int64_t offset, int64_t length)
{
    if (mFramesPerColumn <= 0)
        return;
    // A column more on both sides: summaries are coarser than columns at close zooms.
    const double reach = std::max(1.0, 1024 / mFramesPerColumn);
    const auto from =
        static_cast<int64_t>(std::floor(static_cast<double>(offset) / mFramesPerColumn - reach));
    const auto to =
        static_cast<int64_t>(std::ceil(static_cast<double>(offset + length) / mFramesPerColumn + reach));
    for (TrackColumns& columns : mTracks) {
        const int64_t begin = std::max(from, columns.first);
        const int64_t end = std::min(to, columns.end());
        if (begin < end)
            std::fill(columns.isKnown.begin() + (begin - columns.first),
                      columns.isKnown.begin() + (end - columns.first), char(0));
    }
}

void ColumnCache::moveTo(TrackColumns& columns, int64_t first, int64_t count)
{
    TrackColumns moved;
    moved.first = first;
    moved.pairs.resize(static_cast<size_t>(2 * count));
    moved.isKnown.resize(static_cast<size_t>(count));
    const int64_t begin = std::max(first, columns.first);
    const int64_t end = std::min(first + count, columns.end());
    if (begin < end) {
        std::copy(columns.isKnown.begin() + (begin - columns.first),
                  columns.isKnown.begin() + (end - columns.first), moved.isKnown.begin() + (begin - first));
        std::copy(columns.pairs.begin() + 2 * (begin - columns.first),
                  columns.pairs.begin() + 2 * (end - columns.first),
                  moved.pairs.begin() + 2 * (begin - first));
    }
    columns = std::move(moved);
}

void ColumnCache::fillUnknown(TrackColumns& columns, int32_t track)
{
    auto it = columns.isKnown.begin();
    while (true) {
        it = std::find(it, columns.isKnown.end(), char(0));
        if (it == columns.isKnown.end())
            return;
        const auto runEnd = std::find(it, columns.isKnown.end(), char(1));
        ask(columns, track, columns.first + (it - columns.isKnown.begin()),
            columns.first + (runEnd - columns.isKnown.begin()));
        std::fill(it, runEnd, char(1));
        it = runEnd;
    }
}

void ColumnCache::ask(TrackColumns& columns, int32_t track, int64_t first, int64_t end)
{
    FloatBuffer pairs = mSubject.columns(first, end - first, mFramesPerColumn, track);
    mNumAsked += end - first;
    // Too short an answer leaves the rest empty.
    const auto numPairs = static_cast<size_t>(end - first);
    pairs.reserve(2 * numPairs);
    while (pairs.size() < 2 * numPairs)
        pairs.push_back(pairs.size() % 2 == 0 ? 1.0F : -1.0F);
    std::copy_n(pairs.begin(), 2 * numPairs, columns.pairs.begin() + 2 * (first - columns.first));
}

} // namespace velloria
