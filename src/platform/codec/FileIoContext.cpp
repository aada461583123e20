#include "platform/codec/FileIoContext.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>

namespace velloria
{

namespace
{

constexpr int kBufferBytes = 65536;

} // namespace

FileIoContext::FileIoContext(std::shared_ptr<FileHandle> handle, Mode mode, int64_t start)
    : mHandle(std::move(handle))
    , mIsWriting(mode == Mode::writing)
    , mWindow{start, 0}
    , mLengthWhenOpened(mHandle->length())
{
    createContext();
}

FileIoContext::FileIoContext(std::shared_ptr<FileHandle> handle, const Window& window)
    : mHandle(std::move(handle))
    , mIsWriting(false)
    , mWindow(window)
    , mLengthWhenOpened(mHandle->length())
{
    createContext();
}

void FileIoContext::createContext()
{
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    auto* buffer = static_cast<unsigned char*>(av.av_malloc(kBufferBytes));
    if (!buffer)
        return;
    mContext = av.avio_alloc_context(buffer, kBufferBytes, mIsWriting, this, mIsWriting ? nullptr : &read,
                                     mIsWriting ? &write : nullptr, &seek);
    if (!mContext)
        av.av_free(buffer);
}

FileIoContext::~FileIoContext()
{
    if (!mContext)
        return;
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    // FFmpeg may have exchanged the buffer, so it is the context's that is freed.
    av.av_free(mContext->buffer);
    av.avio_context_free(&mContext);
}

int FileIoContext::read(void* self, uint8_t* buffer, int numBytes)
{
    auto& io = *static_cast<FileIoContext*>(self);
    const std::span out(reinterpret_cast<std::byte*>(buffer), static_cast<size_t>(numBytes));
    int64_t numRead = io.mHandle->readAt(io.mWindow.start + io.mPosition, out);
    if (numRead <= 0) {
        numRead = std::min<int64_t>(numBytes, io.endOfFile() - io.mPosition);
        if (io.mWindow.numZerosBehind == 0 || numRead <= 0)
            return AVERROR_EOF;
        std::fill_n(out.begin(), numRead, std::byte());
    }
    io.mPosition += numRead;
    return static_cast<int>(numRead);
}

int FileIoContext::write(void* self, uint8_t* buffer, int numBytes)
{
    auto& io = *static_cast<FileIoContext*>(self);
    if (io.mWriteError)
        return AVERROR(EIO);
    const std::span bytes(reinterpret_cast<const std::byte*>(buffer), static_cast<size_t>(numBytes));
    io.mWriteError = io.mHandle->writeAt(io.mWindow.start + io.mPosition, bytes);
    if (io.mWriteError)
        return AVERROR(EIO);
    io.mPosition += numBytes;
    return numBytes;
}

int64_t FileIoContext::endOfFile() const
{
    const int64_t length = mIsWriting ? mHandle->length() : mLengthWhenOpened;
    return length - mWindow.start + mWindow.numZerosBehind;
}

int64_t FileIoContext::seek(void* self, int64_t offset, int whence)
{
    auto& io = *static_cast<FileIoContext*>(self);
    int64_t base = 0;
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return io.endOfFile();
    case SEEK_SET:
        break;
    case SEEK_CUR:
        base = io.mPosition;
        break;
    case SEEK_END:
        base = io.endOfFile();
        break;
    default:
        return AVERROR(EINVAL);
    }
    int64_t target = 0;
    if (__builtin_add_overflow(base, offset, &target) || target < 0)
        return AVERROR(EINVAL);
    io.mPosition = target;
    return target;
}

} // namespace velloria
