#pragma once

#include "platform/Error.h"

#include <QByteArray>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <sys/stat.h>

namespace velloria
{

/// An open regular file, read and written by position: each call is one step by nature, so that several
/// threads may use one handle without a lock. The file stays readable through the handle after another
/// file was renamed over its path or the path was removed.
class FileHandle
{
public:
    /// Opens an existing regular file. A directory, FIFO, socket or device is refused without blocking.
    /// Gives null and fills `error` (when given) if the file cannot be opened.
    static std::shared_ptr<FileHandle> openForReading(const std::filesystem::path& path,
                                                      MaybeError* error = nullptr);

    /// Takes over a descriptor that is open for reading and writing.
    static std::shared_ptr<FileHandle> adopt(int descriptor, const std::filesystem::path& path);

    ~FileHandle();
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;

    const std::filesystem::path& path() const { return mPath; }
    int descriptor() const { return mDescriptor; }

    /// Current size in bytes; that at opening when the system does not say.
    int64_t length() const;

    /// Reads up to out.size() bytes at `offset`; gives the number read, which is smaller only at the end of
    /// the file or after a read error.
    int64_t readAt(int64_t offset, std::span<std::byte> out) const;

    /// The same into a new buffer of at most numBytes bytes, never larger than what the file holds.
    QByteArray readAt(int64_t offset, int64_t numBytes) const;

    /// Whether there is nothing but zeros in a run of bytes, as far as it lies within the file.
    bool holdsOnlyZeros(int64_t offset, int64_t numBytes) const;

    /// Writes all bytes at `offset`; nothing means success.
    MaybeError writeAt(int64_t offset, std::span<const std::byte> bytes);
    MaybeError writeAt(int64_t offset, const QByteArray& bytes);

    /// Copies a run of another file's bytes to this one, inside the kernel where it can. Gives the number of
    /// bytes copied, fewer than asked only when the source ends early; fills `error` when writing fails.
    int64_t copyFrom(const FileHandle& source, int64_t sourceOffset, int64_t offset, int64_t numBytes,
                     MaybeError* error);

    /// Lets the system begin to bring a run of bytes to the disk and returns at once, so that a sync() at the
    /// end of a long file has little left to wait for. Only a hint: nothing is promised and nothing fails.
    void startSync(int64_t offset, int64_t numBytes);

    /// Returns once the file's bytes are on the disk.
    MaybeError sync();

    /// What this user may still write to the file's disk; the largest number when the system does not say.
    int64_t numBytesFree() const;

    /// True when the contents were changed in place since this handle was opened, as far as size and times
    /// tell: also by a program that put the modification time back. A new name, owner, mode or extended
    /// attribute is no such change.
    bool hasChangedOnDisk() const;

    /// True when `path` leads to this very file.
    bool isAt(const std::filesystem::path& path) const;

    /// For who read fewer bytes than there were when the file was opened: cut off meanwhile, or on a disk
    /// that fails. Whoever needs all of them compares the number before and after. Any thread.
    void noteMissedRead() const { mNumMissedReads.fetch_add(1, std::memory_order_relaxed); }
    int64_t numMissedReads() const { return mNumMissedReads.load(std::memory_order_relaxed); }

private:
    FileHandle(int descriptor, std::filesystem::path path);
    int64_t copyInKernel(const FileHandle& source, int64_t sourceOffset, int64_t offset, int64_t numBytes);

    int mDescriptor;
    std::filesystem::path mPath;
    /// As it was when this handle was opened.
    struct stat mOpened = {};
    size_t mOpenedAttributes = 0;
    mutable std::atomic<int64_t> mNumMissedReads = 0;
};

/// Nothing when `mode` (st_mode) is a regular file's; else an error that says what `name` is instead.
MaybeError refusalUnlessRegular(unsigned mode, const QString& name);

/// A path as text for a person: bytes that are not UTF-8 show as U+FFFD.
QString displayPath(const std::filesystem::path& path);

/// The last component of a path as text for a person.
QString displayName(const std::filesystem::path& path);

/// The system's bytes for a path that came from Qt, and the other way round.
std::filesystem::path pathFromQString(const QString& path);

} // namespace velloria
