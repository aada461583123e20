#pragma once

#include "platform/FileHandle.h"

#include <vector>

namespace velloria
{

/// Writes what an encoder hands out in small pieces into a file, a large piece at a time. The disk starts on
/// what is written meanwhile, since saving ends with the file on the disk. After an error nothing more is
/// written. One thread at a time.
class BufferedWriter
{
public:
    explicit BufferedWriter(std::shared_ptr<FileHandle> handle);

    /// Adds bytes at position(). What is written may be an earlier piece, and so may be an error.
    void write(std::span<const std::byte> bytes);
    int64_t position() const { return mPosition; }
    void setPosition(int64_t position);
    /// Writes what is left.
    MaybeError finish();
    const MaybeError& error() const { return mError; }

private:
    void writeOut();

    const std::shared_ptr<FileHandle> mHandle;
    int64_t mPosition = 0;
    /// The last bytes before mPosition.
    std::vector<std::byte> mPending;
    int64_t mNumBytesSyncing = 0;
    MaybeError mError;
};

} // namespace velloria
