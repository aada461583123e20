#pragma once

#include "formats/flac/FlacPacketIndex.h"
#include "formats/seams/SoundPieces.h"

namespace velloria
{

/// How a FLAC file is put together from packets of another one and new ones around the seams. Packets of any
/// length may follow one another where their frames are counted; only the last one may be very short.
class FlacSeamPlan
{
public:
    /// A run of packets that are copied, or, where there are none, of frames that are encoded: as many
    /// packets of packetFrames frames as fit, and a shorter one.
    struct Step {
        int64_t frame = 0;
        int64_t numFrames = 0;
        size_t firstPacket = 0;
        size_t numPackets = 0;
        int64_t packetFrames = 0;
    };

    /// For a sound of numFrames frames of which `pieces` are in the file with these packets. New packets are
    /// as long as those of that file, `packetFrames`.
    FlacSeamPlan(std::vector<FlacPacket> packets, const SoundPieces& pieces, int64_t numFrames,
                 int64_t packetFrames);

    const std::vector<FlacPacket>& packets() const { return mPackets; }
    /// In order and without a gap.
    const std::vector<Step>& steps() const { return mSteps; }
    bool keepsAny() const;

    /// The length that all packets but the last one have, which is no longer; 0 where they differ. Packets
    /// are counted then, and else frames.
    int64_t commonLength() const;

private:
    std::vector<Step> keptRuns(const SoundPieces& pieces, int64_t numFrames) const;
    void addRun(const SoundPiece& piece, int64_t numFrames, std::vector<Step>& runs) const;
    void addEncoded(int64_t frame, int64_t end, bool isLast);

    std::vector<FlacPacket> mPackets;
    int64_t mPacketFrames;
    std::vector<Step> mSteps;
};

} // namespace velloria
