#pragma once

#include "platform/codec/FileIoContext.h"
#include "platform/codec/PacketEncoder.h"
#include "platform/codec/PacketTable.h"
#include "platform/codec/StreamDescription.h"

#include <memory>
#include <span>

namespace velloria
{

/// Files that a ContainerWriter makes.
namespace ContainerType
{
constexpr FourCharCode kMpeg4 = fourCharCode("m4af");
constexpr FourCharCode kAdts = fourCharCode("adts");
} // namespace ContainerType

/// Writes a compressed sound file: takes floats, encodes them, and lays the packets out in the container. An
/// MPEG-4 file gets an edit list that leaves out the encoder's delay to the frame, and its tables in front of
/// the sound, followed by some free space where tags may go later. An ADTS file has no place to tell its
/// delay; silence before the sound makes it the 2112 frames that readers take for granted.
///
/// The file is valid only after finish(). One thread at a time.
class ContainerWriter
{
public:
    struct Options {
        int64_t bitRate = 0;   // bits per second of AAC; 0 leaves the choice to the encoder
        int64_t numFrames = 0; // how many frames will be written; 0 = not known, the tables then come last
    };

    /// Writes from the start of an empty file. `format` is AAC, or (MPEG-4 only) Apple Lossless with the
    /// flags of its width, 16 or 24 bits. Null with `error` filled when that cannot be written.
    static std::unique_ptr<ContainerWriter> create(const std::shared_ptr<FileHandle>& handle,
                                                   FourCharCode type, const StreamDescription& format,
                                                   const Options& options, MaybeError* error);
    ~ContainerWriter();
    ContainerWriter(const ContainerWriter&) = delete;
    ContainerWriter& operator=(const ContainerWriter&) = delete;

    /// Any number of interleaved frames.
    MaybeError writeFloats(std::span<const float> interleaved);
    /// Completes the file.
    MaybeError finish();
    /// Where the sound lies among the frames that decode from the file; after finish(). gaplessTag() makes
    /// the tag of it that other players look for.
    PacketTable packetTable() const;

private:
    ContainerWriter(const std::shared_ptr<FileHandle>& handle, FourCharCode type);
    MaybeError openContainer(const Options& options);
    MaybeError writePacket(AVPacket& packet);
    MaybeError failure() const;

    FileIoContext mIo;
    FourCharCode mType;
    std::unique_ptr<PacketEncoder> mEncoder;
    AVFormatContext* mFormat = nullptr;
    int64_t mNumPackets = 0;
    int64_t mNumSilentFrames = 0;
};

} // namespace velloria
