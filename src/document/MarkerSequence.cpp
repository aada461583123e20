#include "document/MarkerSequence.h"

#include <algorithm>
#include <iterator>

namespace velloria
{

namespace
{

// Moving the markers of a piece takes about as long as to walk over the pieces of 100,000 markers.
constexpr size_t kMostInPiece = 512;
// Beyond it the whole sequence is made anew.
constexpr int64_t kMostMovedSingly = 16;

} // namespace

MarkerSequence::MarkerSequence(std::span<const AudioMarkerPtr> markers)
    : mSize(std::ssize(markers))
{
    constexpr size_t numInPiece = kMostInPiece / 2;
    mPieces.reserve(markers.size() / numInPiece + 1);
    for (size_t i = 0; i < markers.size(); i += numInPiece) {
        const auto part = markers.subspan(i, std::min(numInPiece, markers.size() - i));
        mPieces.emplace_back(part.begin(), part.end());
    }
}

MarkerSequence::Place MarkerSequence::placeOf(int64_t index) const
{
    size_t piece = 0;
    for (; piece + 1 < mPieces.size() && index >= std::ssize(mPieces[piece]); ++piece)
        index -= std::ssize(mPieces[piece]);
    return {piece, static_cast<ptrdiff_t>(index)};
}

const AudioMarkerPtr& MarkerSequence::at(int64_t index) const
{
    const Place place = placeOf(index);
    return mPieces[place.piece][static_cast<size_t>(place.index)];
}

void MarkerSequence::splice(int64_t first, int64_t count, std::span<const AudioMarkerPtr> others)
{
    if (count + std::ssize(others) <= kMostMovedSingly) {
        for (int64_t i = 0; i < count; ++i)
            erase(first);
        for (const AudioMarkerPtr& marker : others)
            insert(first++, marker);
        return;
    }
    std::vector<AudioMarkerPtr> markers = toVector();
    const auto start = markers.begin() + first;
    markers.insert(markers.erase(start, start + count), others.begin(), others.end());
    *this = MarkerSequence(markers);
}

void MarkerSequence::erase(int64_t index)
{
    const Place place = placeOf(index);
    Piece& piece = mPieces[place.piece];
    piece.erase(piece.begin() + place.index);
    if (piece.empty())
        mPieces.erase(mPieces.begin() + static_cast<ptrdiff_t>(place.piece));
    --mSize;
}

void MarkerSequence::insert(int64_t index, const AudioMarkerPtr& marker)
{
    if (mPieces.empty())
        mPieces.emplace_back();
    const Place place = placeOf(index);
    Piece& piece = mPieces[place.piece];
    piece.insert(piece.begin() + place.index, marker);
    ++mSize;
    if (piece.size() <= kMostInPiece)
        return;
    const auto middle = piece.begin() + std::ssize(piece) / 2;
    Piece behind(std::make_move_iterator(middle), std::make_move_iterator(piece.end()));
    piece.erase(middle, piece.end());
    mPieces.insert(mPieces.begin() + static_cast<ptrdiff_t>(place.piece) + 1, std::move(behind));
}

std::vector<AudioMarkerPtr> MarkerSequence::slice(int64_t first, int64_t count) const
{
    std::vector<AudioMarkerPtr> markers;
    markers.reserve(static_cast<size_t>(count));
    Place place = placeOf(first);
    for (; count > 0; ++place.piece, place.index = 0) {
        const Piece& piece = mPieces[place.piece];
        const int64_t numTaken = std::min(count, std::ssize(piece) - place.index);
        const auto start = piece.begin() + place.index;
        markers.insert(markers.end(), start, start + numTaken);
        count -= numTaken;
    }
    return markers;
}

int64_t MarkerSequence::find(const Test& isSo, int64_t first, int64_t end) const
{
    end = std::min(end, mSize);
    if (first >= end)
        return -1;
    Place place = placeOf(first);
    for (int64_t numBefore = first - place.index; numBefore < end; ++place.piece, place.index = 0) {
        const Piece& piece = mPieces[place.piece];
        const auto last =
            piece.begin() + std::min(std::ssize(piece), static_cast<ptrdiff_t>(end - numBefore));
        const auto found = std::find_if(piece.begin() + place.index, last, isSo);
        if (found != last)
            return numBefore + (found - piece.begin());
        numBefore += std::ssize(piece);
    }
    return -1;
}

int64_t MarkerSequence::find(const AudioMarkerPtr& marker, int64_t first, int64_t end) const
{
    return find([&marker](const AudioMarkerPtr& each) { return each == marker; }, first, end);
}

int64_t MarkerSequence::countOfFirst(const Test& isSo) const
{
    auto piece = std::partition_point(mPieces.begin(), mPieces.end(),
                                      [&](const Piece& each) { return isSo(each.front()); });
    if (piece == mPieces.begin())
        return 0;
    --piece;
    int64_t count = std::partition_point(piece->begin(), piece->end(), isSo) - piece->begin();
    for (auto before = mPieces.begin(); before != piece; ++before)
        count += std::ssize(*before);
    return count;
}

} // namespace velloria
