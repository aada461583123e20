#pragma once

#include "formats/seams/SoundPieces.h"

#include <cstddef>

namespace velloria
{

/// Where one packet of a file lies, and which frames of its sound it holds.
struct SoundPacket {
    int64_t offset = 0;
    int64_t firstFrame = 0;
    int32_t numBytes = 0;
    int32_t numFrames = 0;

    int64_t endFrame() const { return firstFrame + numFrames; }
    int64_t end() const { return offset + numBytes; }
};

/// How the sound of a file is put together from packets of another one, each of which can stand anywhere, and
/// new ones around the seams.
class PacketPlan
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

    /// Frames of a packet.
    struct Lengths {
        /// Of a new one, but for the last of each run.
        int64_t usual = 0;
        /// Only the last packet of the sound may have fewer.
        int64_t least = 1;
    };

    /// For a sound of numFrames frames of which `pieces` are in the file with these packets.
    PacketPlan(std::vector<SoundPacket> packets, const SoundPieces& pieces, int64_t numFrames,
               const Lengths& lengths);

    const std::vector<SoundPacket>& packets() const { return mPackets; }
    /// In order and without a gap.
    const std::vector<Step>& steps() const { return mSteps; }
    bool keepsAny() const;

    /// The length that all packets but the last one have, which is no longer; 0 where they differ.
    int64_t commonLength() const;

private:
    std::vector<Step> keptRuns(const SoundPieces& pieces, int64_t numFrames) const;
    void addRun(const SoundPiece& piece, int64_t numFrames, std::vector<Step>& runs) const;
    void addEncoded(int64_t frame, int64_t end, bool isLast);

    std::vector<SoundPacket> mPackets;
    Lengths mLengths;
    std::vector<Step> mSteps;
};

} // namespace velloria
