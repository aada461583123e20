#pragma once

#include "formats/flac/FlacPacketHead.h"
#include "formats/ledger/FileLedger.h"
#include "formats/seams/PacketPlan.h"
#include "platform/FileHandle.h"

#include <vector>

namespace velloria
{

/// Finds the packets of a FLAC file without decoding them: FLAC does not tell how long they are. One ends
/// where its checksum comes out right and the head of the next one follows, with the next number.
class FlacPacketIndex
{
public:
    /// `sound` is where the packets lie, `numFrames` what they decode to. Nothing where they do not follow
    /// one another without a gap from the first frame to the last, or one is damaged; then no packet is to be
    /// taken for what was decoded of it. A last one with other bytes behind it is left out.
    static std::optional<std::vector<SoundPacket>> read(const FileHandle& file, ByteRange sound,
                                                        int64_t numFrames);

private:
    FlacPacketIndex(const FileHandle& file, ByteRange sound)
        : mFile(file)
        , mSound(sound)
    {
    }

    bool fill();
    /// From the start of the current packet on, as far as they were read.
    std::span<const std::byte> bytes() const { return std::span(mBytes).subspan(mBegin); }
    bool start();
    bool isNextHead(const FlacPacketHead& head) const;
    bool findEnd();
    bool takePacket(size_t end);

    const FileHandle& mFile;
    const ByteRange mSound;
    std::vector<SoundPacket> mPackets;
    /// A stretch of the file. The current packet begins at mBegin in there, at mOffset in the file.
    std::vector<std::byte> mBytes;
    size_t mBegin = 0;
    int64_t mOffset = 0;
    bool mIsAtEnd = false;
    FlacPacketHead mHead;
    int64_t mFirstFrame = 0;
    /// Of the first packet.
    int64_t mPacketFrames = 0;
    /// The checksum over the first mSumEnd bytes of the current packet.
    uint16_t mSum = 0;
    size_t mSumEnd = 0;
};

} // namespace velloria
