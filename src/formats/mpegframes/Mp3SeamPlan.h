#pragma once

#include "formats/mpegframes/Mp3FrameIndex.h"
#include "formats/seams/SeamReport.h"
#include "formats/seams/SoundPieces.h"

#include <optional>
#include <vector>

namespace velloria
{

/// Which packets of an opened MP3 file go where in a new one, so that every frame of the sound lies where it
/// should, and which have to be encoded.
///
/// Packets can only follow one another, so those that are kept lie on one grid: among all shifts of the runs
/// that are to be saved, the one that keeps the most sound decides. The delay that is noted in the file (12
/// bits) takes up what the first packet decodes to in front of the sound, the padding what the last one
/// does behind it. So a crop is exact without a new packet: in front of the sound goes the packet that the
/// first one overlaps with, and before that a silent one if its reservoir is needed.
///
/// What a packet decodes to reaches 1056 frames beyond it: half the overlapped transform (576) and the memory
/// of the filter bank (480). Packets are kept that reach into nothing but their own run; those around a cut
/// are encoded from the edited sound, so that what overlaps there was made of the same sound on both sides.
/// They overlap with long windows: a packet whose neighbour has short ones is encoded, too.
struct Mp3SeamPlan {
    struct Run {
        enum class Kind { copied, encoded, silent };
        Kind kind = Kind::copied;
        int64_t firstPacket = 0;
        int64_t numPackets = 0;
        /// Of copied ones, in the opened file.
        int64_t sourcePacket = 0;

        int64_t end() const { return firstPacket + numPackets; }
    };

    /// Nothing where no packet can be kept. `numFrames` is the length of what is saved.
    static std::optional<Mp3SeamPlan> make(const Mp3FrameIndex& index, const SoundPieces& pieces,
                                           int64_t numFrames);

    /// All packets of the new file, in order; none is empty.
    std::vector<Run> runs;
    int64_t numFrames = 0;
    int64_t framesPerPacket = 1152;
    /// Frames that the packets decode to before the sound.
    int64_t leadFrames = 0;

    int64_t numPackets() const { return runs.empty() ? 0 : runs.back().end(); }
    /// As the notes of the file count them.
    int64_t delay() const;
    int64_t padding() const;
    SeamReport report() const;
};

} // namespace velloria
