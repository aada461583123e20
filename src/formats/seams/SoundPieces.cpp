#include "formats/seams/SoundPieces.h"

#include <algorithm>
#include <numeric>

namespace velloria
{

void appendPiece(SoundPieces& pieces, const SoundPiece& piece)
{
    if (piece.numFrames <= 0)
        return;
    if (!pieces.empty() && pieces.back().end() == piece.frame &&
        pieces.back().sourceEnd() == piece.sourceFrame)
        pieces.back().numFrames += piece.numFrames;
    else
        pieces.push_back(piece);
}

SoundPieces commonPieces(const SoundPieces& a, const SoundPieces& b)
{
    SoundPieces common;
    auto other = b.begin();
    for (auto piece = a.begin(); piece != a.end() && other != b.end();) {
        const int64_t first = std::max(piece->frame, other->frame);
        const int64_t end = std::min(piece->end(), other->end());
        if (piece->sourceFrame - piece->frame == other->sourceFrame - other->frame)
            appendPiece(common, {first, piece->sourceFrame + first - piece->frame, end - first});
        if (piece->end() < other->end())
            ++piece;
        else
            ++other;
    }
    return common;
}

int64_t numFramesOf(const SoundPieces& pieces)
{
    return std::accumulate(pieces.begin(), pieces.end(), int64_t{0},
                           [](int64_t sum, const SoundPiece& piece) { return sum + piece.numFrames; });
}

} // namespace velloria
