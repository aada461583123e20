#pragma once

#include "document/clips/AudioMarker.h"

#include <functional>
#include <span>
#include <vector>

namespace velloria
{

/// A list of markers in which one of a hundred thousand is found, put in or taken out at once, wherever it
/// stands. It is kept in short pieces, so that few others are moved.
class MarkerSequence
{
public:
    explicit MarkerSequence(std::span<const AudioMarkerPtr> markers = {});

    int64_t size() const { return mSize; }
    const AudioMarkerPtr& at(int64_t index) const;
    /// Puts others in the place of markers first .. first + count - 1.
    void splice(int64_t first, int64_t count, std::span<const AudioMarkerPtr> others);
    std::vector<AudioMarkerPtr> slice(int64_t first, int64_t count) const;
    std::vector<AudioMarkerPtr> toVector() const { return slice(0, mSize); }

    using Test = std::function<bool(const AudioMarkerPtr&)>;

    /// Index of the first that is so, from `first` on and before `end`; -1 for none.
    int64_t find(const Test& isSo, int64_t first = 0, int64_t end = INT64_MAX) const;
    int64_t find(const AudioMarkerPtr& marker, int64_t first = 0, int64_t end = INT64_MAX) const;
    /// How many at the beginning are so; those behind them must not be.
    int64_t countOfFirst(const Test& isSo) const;

private:
    using Piece = std::vector<AudioMarkerPtr>;
    struct Place {
        size_t piece;
        ptrdiff_t index;
    };

    /// Of the marker, or where one would be appended.
    Place placeOf(int64_t index) const;
    void erase(int64_t index);
    void insert(int64_t index, const AudioMarkerPtr& marker);

    std::vector<Piece> mPieces; ///< none of them empty
    int64_t mSize = 0;
};

} // namespace velloria
