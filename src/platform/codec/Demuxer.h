#pragma once

#include "platform/FourCharCode.h"
#include "platform/codec/FileIoContext.h"

#include <QByteArray>
#include <string_view>

namespace velloria
{

/// File types that can be hinted at: what is tried when the bytes do not say what they are.
namespace FileType
{
constexpr FourCharCode kAdts = fourCharCode("ADTS");
constexpr FourCharCode kMp3 = fourCharCode("MPG3");
} // namespace FileType

/// The packets of the one sound stream of a file, in FFmpeg's terms. Only containers of sound are opened;
/// nothing that a file names (playlists, other files, addresses) is ever followed. One thread at a time.
class Demuxer
{
public:
    /// Null with `error` filled when the file is not one of those, or holds no sound.
    static std::unique_ptr<Demuxer> open(const std::shared_ptr<FileHandle>& handle, FourCharCode typeHint,
                                         MaybeError* error);
    ~Demuxer();
    Demuxer(const Demuxer&) = delete;
    Demuxer& operator=(const Demuxer&) = delete;

    AVStream& stream() const { return *mStream; }
    const AVCodecParameters& parameters() const { return *mStream->codecpar; }
    /// True for one of FFmpeg's names of the container ("mov", "wav", ...).
    bool isContainer(std::string_view name) const;
    /// A tag of the file, by FFmpeg's key; empty when it has none.
    QByteArray tag(const char* key) const;

    /// Looks at some packets of a stream without tables, so that packets tell when they are and what to leave
    /// out; before the first is read. False when that shows that it is not sound.
    bool findDurations();
    /// The next packet of the stream, whole. False at the end, and where the rest cannot be read.
    bool readPacket(AVPacket& packet);
    /// True when the end of the file has cut a packet, which was not given.
    bool hasMetCutPacket() const { return mHasMetCutPacket; }
    /// Goes to a packet at or before the frame. False when the container cannot.
    bool seekToFrame(int64_t frame);

private:
    Demuxer(const std::shared_ptr<FileHandle>& handle, const FileIoContext::Window& window);
    MaybeError openInput(const AVInputFormat* format);
    MaybeError chooseStream();

    FileIoContext mIo;
    AVFormatContext* mFormat = nullptr;
    AVStream* mStream = nullptr;
    bool mHasMetCutPacket = false;
};

} // namespace velloria
