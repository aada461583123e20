#pragma once

#include "platform/codec/Demuxer.h"
#include "platform/codec/LinearPcm.h"
#include "platform/codec/Mpeg4Timing.h"
#include "platform/codec/PacketDecoder.h"
#include "platform/codec/PacketTable.h"
#include "platform/codec/StreamDescription.h"

#include <QByteArray>
#include <filesystem>
#include <memory>
#include <optional>

namespace velloria
{

/// How far before a packet decoding has to begin for its frames to be right: so many packets, and before them
/// as many as hold so many bytes of sound (without their heads).
struct PacketPreroll {
    int64_t numPackets = 0;
    int64_t numBytes = 0;
};

/// The sound of a file that is open for reading: its format, how long it is, and its packets one after the
/// other. Opening reads the tables of the file, walks over its packets where the tables do not count them,
/// and decodes one packet, because only that tells the true rate and channels of AAC.
///
/// Whatever bytes the file holds, opening ends in reasonable time and memory, with a reader or an error. One
/// thread at a time; several readers may share a FileHandle.
class PacketReader
{
public:
    /// `typeHint` is FileType::kAdts, FileType::kMp3 or 0.
    static std::unique_ptr<PacketReader> open(const std::filesystem::path& path, FourCharCode typeHint,
                                              MaybeError* error);
    static std::unique_ptr<PacketReader> open(const std::shared_ptr<FileHandle>& handle,
                                              FourCharCode typeHint, MaybeError* error);
    ~PacketReader();

    /// The format as stored. Bits per channel is 0 for compressed sound; the flags of Apple Lossless tell its
    /// width (see appleLosslessBits()). Frames per packet is 0 where packets differ.
    const StreamDescription& streamDescription() const { return mDescription; }
    FourCharCode dataFormat() const { return mDescription.formatID(); }
    /// The stored width of FLAC out of another container; 0 for all else.
    uint32_t flacBits() const;
    /// What the decoder needs to know beside the packets; empty for most formats.
    const QByteArray& magicCookie() const { return mMagicCookie; }
    /// What the file says about priming and remainder; nothing when it says nothing.
    const std::optional<PacketTable>& packetTable() const { return mPacketTable; }
    /// Bits per second of the sound, as it is in the file on average.
    int64_t bitRate() const { return mBitRate; }
    /// Frames that all packets decode to, priming and remainder included; counted, not guessed.
    int64_t numFramesInPackets() const { return mNumFramesInPackets; }
    /// True when the file ends before the sound that it announces does.
    bool isCutShort() const { return mIsCutShort; }
    /// True when the container announces more sound than all of its packets hold, though it is whole.
    bool hasLostPackets() const { return mHasLostPackets; }
    /// Frames by which the count of those in all packets may be too high: 0 where packets are equal, else
    /// those of one.
    int64_t countTolerance() const { return mDescription.framesPerPacket() > 0 ? 0 : mFramesPerPacket; }
    /// 0 for linear PCM that is read as one run.
    int64_t numPackets() const { return mNumPackets; }
    /// No packet is larger.
    uint32_t maximumPacketSize() const { return mMaximumPacketSize; }
    /// Set when the sound is one run of linear PCM: then it is read from the file, without packets.
    const std::optional<LinearPcmRun>& linearPcmRun() const { return mLinearPcmRun; }
    const std::shared_ptr<FileHandle>& fileHandle() const { return mHandle; }
    /// The number that the container gives the sound's track (in MPEG-4 files from 1).
    uint32_t trackID() const { return static_cast<uint32_t>(mDemuxer->stream().id); }

    // For the decoder.
    const AVCodecParameters& codecParameters() const { return mDemuxer->parameters(); }
    /// The packet after the one read last. False at the end.
    bool readPacket(AVPacket& packet);
    /// Nothing where a packet may depend on all packets before it.
    const std::optional<PacketPreroll>& preroll() const { return mPreroll; }
    /// Frames that stand for a packet that cannot be decoded.
    int64_t nominalFrames(const AVPacket& packet) const;

private:
    struct Walk;

    explicit PacketReader(std::shared_ptr<FileHandle> handle)
        : mHandle(std::move(handle))
    {
    }
    MaybeError openDemuxer(FourCharCode typeHint);
    MaybeError readLinearPcm(const LinearPcmLayout& layout);
    int64_t endOfLinearPcm(int64_t offset, int64_t numBytesAtMost, int64_t bytesPerFrame);
    MaybeError readPackets(FourCharCode typeHint);
    MaybeError walk(Walk& result);
    bool walkIndex(Walk& result) const;
    void countAppleLossless(Walk& walk) const;
    bool areElementaryPacketsCutShort(const Walk& walk) const;
    void fillDescription(const PacketDecoder& decoder);
    void countFrames(const Walk& walk);
    bool isToldMoreThanCounted(int64_t durationTold) const;
    void readPacketTable(const Walk& walk);
    PacketTable mpeg4PacketTable(const Mpeg4Timing& timing) const;
    int64_t framesOf(int64_t duration) const;

    std::shared_ptr<FileHandle> mHandle;
    std::unique_ptr<Demuxer> mDemuxer;
    StreamDescription mDescription;
    QByteArray mMagicCookie;
    std::optional<PacketTable> mPacketTable;
    std::optional<LinearPcmRun> mLinearPcmRun;
    int64_t mBitRate = 0;
    int64_t mNumFramesInPackets = 0;
    int64_t mNumPackets = 0;
    int64_t mNumPacketsRead = 0;
    uint32_t mMaximumPacketSize = 0;
    bool mIsCutShort = false;
    bool mHasLostPackets = false;
    /// Of each packet where they are equal, else of the first.
    int64_t mFramesPerPacket = 0;
    std::optional<PacketPreroll> mPreroll;
};

} // namespace velloria
