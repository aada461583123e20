#include "formats/vorbis/VorbisStream.h"

#include "platform/Log.h"

#include <algorithm>
#include <cstdio>
#include <numeric>

namespace velloria
{

namespace
{

constexpr int framesPerRead = 1024;

} // namespace

/// What the library calls; `source` is the VorbisStream.
struct VorbisStream::Callbacks {
    static size_t read(void* out, size_t size, size_t count, void* source)
    {
        auto& stream = *static_cast<VorbisStream*>(source);
        const std::span bytes(static_cast<std::byte*>(out), size * count);
        const int64_t numRead = stream.mHandle->readAt(stream.mPosition, bytes);
        stream.mPosition += numRead;
        return static_cast<size_t>(numRead) / std::max<size_t>(1, size);
    }

    static int seek(void* source, ogg_int64_t offset, int whence)
    {
        auto& stream = *static_cast<VorbisStream*>(source);
        const int64_t base = whence == SEEK_CUR   ? stream.mPosition
                             : whence == SEEK_END ? stream.mHandle->length()
                                                  : 0;
        if (base + offset < 0)
            return -1;
        stream.mPosition = base + offset;
        return 0;
    }

    static long tell(void* source) { return static_cast<VorbisStream*>(source)->mPosition; }

    static constexpr ov_callbacks all = {read, seek, nullptr, tell};
};

VorbisStream::VorbisStream(std::shared_ptr<const FileHandle> handle)
    : mHandle(std::move(handle))
{
}

VorbisStream::~VorbisStream()
{
    if (!mIsOpen)
        return;
    if (const int status = ov_clear(&mFile))
        logLine(QStringLiteral("ov_clear() error: %1").arg(status));
}

bool VorbisStream::isVorbis(std::shared_ptr<const FileHandle> handle)
{
    VorbisStream stream(std::move(handle));
    stream.mIsOpen = ov_test_callbacks(&stream, &stream.mFile, nullptr, 0, Callbacks::all) == 0;
    return stream.mIsOpen;
}

std::unique_ptr<VorbisStream> VorbisStream::open(std::shared_ptr<const FileHandle> handle, int* status)
{
    std::unique_ptr<VorbisStream> stream(new VorbisStream(std::move(handle)));
    *status = ov_open_callbacks(stream.get(), &stream->mFile, nullptr, 0, Callbacks::all);
    if (*status != 0)
        return nullptr;
    stream->mIsOpen = true;
    stream->describe();
    return stream;
}

void VorbisStream::describe()
{
    const vorbis_info* const first = ov_info(&mFile, 0);
    if (!first)
        return;
    mNumChannels = static_cast<size_t>(first->channels);
    mSampleRate = static_cast<double>(first->rate);
    const auto numLinks = static_cast<int>(ov_streams(&mFile));
    while (mNumLinks < numLinks) {
        const vorbis_info* const info = ov_info(&mFile, mNumLinks);
        if (info->channels != first->channels || info->rate != first->rate)
            break;
        mNumFrames += std::max<int64_t>(0, ov_pcm_total(&mFile, mNumLinks));
        ++mNumLinks;
    }
    mChangesFormat = mNumLinks < numLinks;
}

int64_t VorbisStream::bitRate()
{
    return std::max<int64_t>(0, ov_bitrate(&mFile, -1));
}

int64_t VorbisStream::nominalBitRate()
{
    const vorbis_info* const info = ov_info(&mFile, 0);
    return info ? std::max(0L, info->bitrate_nominal) : 0;
}

/// An encoder that follows a quality leaves the limits at 0, one that follows a rate without limits at -1.
bool VorbisStream::hasManagedBitRate()
{
    const vorbis_info* const info = ov_info(&mFile, 0);
    return info && (info->bitrate_lower != 0 || info->bitrate_upper != 0);
}

uint32_t VorbisStream::serialNumber(int link)
{
    return static_cast<uint32_t>(ov_serialnumber(&mFile, link));
}

VorbisComments VorbisStream::comments(int link)
{
    VorbisComments comments;
    if (const vorbis_comment* const block = ov_comment(&mFile, link)) {
        for (int i = 0; i < block->comments; ++i)
            comments.add({block->user_comments[i], static_cast<size_t>(block->comment_lengths[i])});
    }
    return comments;
}

int64_t VorbisStream::commentBytes()
{
    const vorbis_comment* const block = ov_comment(&mFile, 0);
    return block
               ? std::accumulate(block->comment_lengths, block->comment_lengths + block->comments, int64_t{0})
               : 0;
}

int64_t VorbisStream::read(float*** channels)
{
    for (;;) {
        int link = 0;
        const int64_t numFrames = ov_read_float(&mFile, channels, framesPerRead, &link);
        if (numFrames > 0) {
            mFramePosition = ov_pcm_tell(&mFile) - numFrames;
            return link < mNumLinks ? numFrames : 0;
        }
        if (numFrames == 0)
            return 0;
        mIsDamaged = true;
        // A stream whose headers are damaged cannot be read on; behind a hole there may be more.
        if (numFrames != OV_HOLE)
            return 0;
    }
}

bool VorbisStream::seek(int64_t frame)
{
    return ov_pcm_seek(&mFile, frame) == 0;
}

} // namespace velloria
