#pragma once

#include "formats/mpegframes/Mp3Packet.h"
#include "formats/mpegframes/Mp3SeamEncoder.h"
#include "platform/FileHandle.h"

#include <memory>
#include <vector>

namespace velloria
{

/// Writes what an Mp3SeamPlan plans: the packet with the encoder's notes, runs of packets of the opened file
/// as the bytes that they are, and new ones in between. Main data that the first packet of a run needs stands
/// at the end of the packets in front of it, which are made larger for it; so no packet of the opened file is
/// changed. Used once.
class Mp3SeamWriter
{
public:
    /// Everything must live longer; `source` is the file of the index.
    Mp3SeamWriter(const FrameSource& document, const SaveRange& range, const FileHandle& source,
                  const Mp3FrameIndex& index, const Mp3SeamPlan& plan);

    /// Writes from an offset on, to the end of the file. Ends early with the first error, or the
    /// user-cancelled one.
    MaybeError run(FileHandle& file, int64_t offset, Progress& progress);

private:
    using Run = Mp3SeamPlan::Run;

    MaybeError write(const Run& run, const Run* next, Progress& progress);
    MaybeError copy(const Run& run, Progress& progress);
    MaybeError noteCopied(const Run& run);
    MaybeError writeSeam(int64_t firstPacket, int64_t numPackets, const QByteArray& reservoir,
                         Progress& progress);
    MaybeError encode(int64_t firstPacket, int64_t numPackets, uint32_t bitRateIndex,
                      std::vector<Mp3Packet::Contents>& contents, Progress& progress);
    MaybeError writeLongRun(const Run& run, const QByteArray& reservoir, Progress& progress);
    MaybeError writePackets(const std::vector<QByteArray>& packets);
    MaybeError flush();
    QByteArray infoPacket() const;
    int64_t soundFramesOf(const Run& run) const;

    const FileHandle& mSource;
    const Mp3FrameIndex& mIndex;
    const Mp3SeamPlan& mPlan;
    Mp3SeamEncoder mEncoder;
    FileHandle* mFile = nullptr;
    /// Where the next byte goes, without those in the buffer.
    int64_t mEnd = 0;
    QByteArray mBuffer;
    uint16_t mChecksum = 0;
    int64_t mNumBytes = 0;
    /// Of each packet, without the one in front.
    std::vector<int64_t> mOffsets;
};

} // namespace velloria
