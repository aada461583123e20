#pragma once

#include "platform/codec/FileIoContext.h"
#include "platform/codec/PacketSink.h"

namespace velloria
{

/// Files that a ContainerWriter makes.
namespace ContainerType
{
constexpr FourCharCode kMpeg4 = fourCharCode("m4af");
/// The same as QuickTime describes it.
constexpr FourCharCode kQuickTime = fourCharCode("MooV");
constexpr FourCharCode kAdts = fourCharCode("adts");
} // namespace ContainerType

/// Lays compressed packets out in a file. An MPEG-4 file gets an edit list that leaves out the encoder's
/// delay to the frame, and its tables in front of the sound, followed by free space. An ADTS file has no
/// place to tell its delay.
///
/// The file is valid only after finish(). Used once.
class ContainerWriter : public PacketSink
{
public:
    struct Options {
        /// How many frames will be written; 0 = not known, the tables then come last.
        int64_t numFrames = 0;
        /// Free space to leave behind the tables for what is put in later.
        int64_t numReservedBytes = 0;
        /// Where the container begins in the file; what stands in front of it stays.
        int64_t start = 0;
    };

    /// Writes to the end of a file that is empty from the start of the container on.
    ContainerWriter(const std::shared_ptr<FileHandle>& handle, FourCharCode type, const Options& options);
    ~ContainerWriter() override;
    ContainerWriter(const ContainerWriter&) = delete;
    ContainerWriter& operator=(const ContainerWriter&) = delete;

    MaybeError begin(const PacketEncoder& encoder) override;
    MaybeError writePacket(AVPacket& packet) override;
    MaybeError finish(const PacketTable& table) override;

private:
    MaybeError failure() const;

    std::shared_ptr<FileHandle> mHandle;
    FourCharCode mType;
    Options mOptions;
    std::unique_ptr<FileIoContext> mIo;
    const PacketEncoder* mEncoder = nullptr;
    AVFormatContext* mFormat = nullptr;
};

} // namespace velloria
