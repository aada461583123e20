#pragma once

#include "formats/flac/FlacMetadataEdit.h"

#include <QByteArray>
#include <cstdint>
#include <optional>
#include <vector>

namespace velloria
{

/// The seek table of a FLAC file that is being written, in the manner of another file's: points at the same
/// places, and in the same steps beyond.
class FlacSeekTable
{
public:
    /// By the payload of the other table. `numFrames` is the length of the new sound.
    FlacSeekTable(const QByteArray& other, int64_t numFrames);

    /// In the manner of the one among the metadata, whose place it takes there, still without points; nothing
    /// where there is none.
    static std::optional<FlacSeekTable> inPlaceOf(FlacMetadataEdit::Blocks& blocks, int64_t numFrames);
    void putInto(FlacMetadataEdit::Blocks& blocks) const;

    /// Tells where a block of the sound went. Offsets count from the first one.
    void didWrite(int64_t firstFrame, int64_t offset, int64_t numFrames);

    /// As far as blocks were told; points without one are placeholders, so the length is the same at all
    /// times.
    QByteArray payload() const;

private:
    struct Point {
        int64_t firstFrame = 0;
        int64_t offset = 0;
        int64_t numFrames = 0;
    };

    /// Frames that points are wanted for, in order, and how many have theirs.
    std::vector<int64_t> mTargets;
    size_t mNumFound = 0;
    int64_t mNumPoints = 0;
    std::vector<Point> mPoints;
};

} // namespace velloria
