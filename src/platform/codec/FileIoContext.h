#pragma once

#include "platform/FileHandle.h"
#include "platform/codec/FFmpegLibraries.h"

#include <cstdint>
#include <memory>

namespace velloria
{

/// A FileHandle as FFmpeg reads or writes it: by position, with a position of its own, so that several of
/// these may work on one handle. One thread at a time.
class FileIoContext
{
public:
    enum class Mode { reading, writing };

    /// The part of a file that is read: what FFmpeg takes for position 0, and how many zeros it finds behind
    /// the end.
    struct Window {
        int64_t start = 0;
        int64_t numZerosBehind = 0;
    };

    /// `start` is what FFmpeg takes for position 0.
    FileIoContext(std::shared_ptr<FileHandle> handle, Mode mode, int64_t start = 0);
    FileIoContext(std::shared_ptr<FileHandle> handle, const Window& window);
    ~FileIoContext();
    FileIoContext(const FileIoContext&) = delete;
    FileIoContext& operator=(const FileIoContext&) = delete;

    /// Null when there is no memory for it.
    AVIOContext* context() const { return mContext; }
    /// The first write that failed.
    const MaybeError& writeError() const { return mWriteError; }

private:
    static int read(void* self, uint8_t* buffer, int numBytes);
    static int write(void* self, uint8_t* buffer, int numBytes);
    static int64_t seek(void* self, int64_t offset, int whence);
    void createContext();
    int64_t endOfFile() const;

    std::shared_ptr<FileHandle> mHandle;
    bool mIsWriting;
    Window mWindow;
    int64_t mLengthWhenOpened;
    int64_t mPosition = 0;
    MaybeError mWriteError;
    AVIOContext* mContext = nullptr;
};

} // namespace velloria
