#pragma once

#include <cstdint>
#include <vector>

namespace velloria
{

/// A run of the sound that is saved that is, on every track, untouched sound of one opened file, channel for
/// channel.
struct SoundPiece {
    int64_t frame = 0;       ///< where it lies in what is saved
    int64_t sourceFrame = 0; ///< where it lies in the file, counted in the frames that the file decodes to
    int64_t numFrames = 0;

    int64_t end() const { return frame + numFrames; }
    int64_t sourceEnd() const { return sourceFrame + numFrames; }
    bool operator==(const SoundPiece&) const = default;
};

/// By frame and disjoint. Neighbours that go on in the file are one piece.
using SoundPieces = std::vector<SoundPiece>;

/// Puts a piece behind the others, or makes the last one longer where this one goes on there.
void appendPiece(SoundPieces& pieces, const SoundPiece& piece);

/// What is in both: where the same frames of the file lie at the same place.
SoundPieces commonPieces(const SoundPieces& a, const SoundPieces& b);

/// Frames of all pieces.
int64_t numFramesOf(const SoundPieces& pieces);

} // namespace velloria
