#pragma once

#include "formats/flac/FlacDescription.h"
#include "formats/flac/FlacFrameSink.h"
#include "formats/flac/FlacSeekTable.h"
#include "formats/saving/SaveLoop.h"
#include "formats/seams/PacketPlan.h"
#include "platform/Progress.h"

namespace velloria
{

/// Writes a FLAC file by a plan: packets of another file, whose sound stays as it is byte for byte, and new
/// ones between them. Lengths, numbers and checksums are those of the new file. Used once, on one thread.
class FlacSeamWriter
{
public:
    FlacSeamWriter(const PacketPlan& plan, const FileHandle& source, std::shared_ptr<FileHandle> target,
                   const FlacFormat& format);

    /// `range` of the document is the sound that was planned for.
    MaybeError write(const FrameSource& document, const SaveRange& range, FlacMetadataEdit::Blocks blocks,
                     Progress& progress);

    /// The metadata as they stand in the file.
    const FlacMetadataEdit::Blocks& blocks() const { return mBlocks; }

private:
    /// Of the packets, as a file tells the least and the most.
    struct Extent {
        int64_t least = 0;
        int64_t most = 0;
        void take(int64_t value);
    };

    MaybeError copyPackets(const PacketPlan::Step& step);
    MaybeError copyPackets(std::span<const SoundPacket> packets);
    MaybeError addPacket(std::span<const std::byte> packet);
    MaybeError tell(int64_t numFramesSummed);
    QByteArray streamInfo(const QByteArray& sum) const;

    const PacketPlan& mPlan;
    const FileHandle& mSource;
    const FlacFormat mFormat;
    /// Of all packets but the last one; 0 where they differ.
    const int64_t mCommonLength;
    std::unique_ptr<FlacFrameSink> mSink;
    FlacMetadataEdit::Blocks mBlocks;
    std::optional<FlacSeekTable> mSeekTable;
    Progress* mProgress = nullptr;
    int64_t mFirstMark = 0;
    int64_t mNumPackets = 0;
    int64_t mNumFrames = 0;
    int64_t mNumBytes = 0;
    /// Frames of the packets before the last one, and bytes of all.
    Extent mFrames;
    int64_t mLastFrames = 0;
    Extent mBytes;
    std::vector<std::byte> mRead;
    std::vector<std::byte> mPacket;
};

} // namespace velloria
