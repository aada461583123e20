#pragma once

#include "platform/FileHandle.h"
#include "platform/UniqueDescriptor.h"

#include <atomic>
#include <vector>

namespace velloria
{

/// A left-over that this process has taken over: no other offers or removes it meanwhile. It stays for a next
/// start unless removeWhenUnused() was called. Any thread.
class LeftOverFile
{
public:
    LeftOverFile(std::filesystem::path path, UniqueDescriptor lock)
        : mPath(std::move(path))
        , mLock(std::move(lock))
    {
    }
    ~LeftOverFile();
    LeftOverFile(const LeftOverFile&) = delete;
    LeftOverFile& operator=(const LeftOverFile&) = delete;

    const std::filesystem::path& path() const { return mPath; }
    /// It was saved, or is not wanted: it goes with the last reference.
    void removeWhenUnused() { mIsAnswered.store(true, std::memory_order_relaxed); }

private:
    const std::filesystem::path mPath;
    const UniqueDescriptor mLock;
    std::atomic<bool> mIsAnswered{false};
};

/// The folder "Velloria_Temp" in the user's temporary directory, where computed samples live. It is private
/// to the user (mode 0700). Files are created exclusively and locked by the process that uses them, so that
/// any number of editors and command lines can share the folder: a file that nobody has locked is a left-over
/// of a process that ended abnormally.
class ScratchFolder
{
public:
    /// The folder's path. When that name belongs to another user (a shared /tmp), the user's number is
    /// appended.
    static std::filesystem::path path();

    /// Creates "Velloria_Temp-%03d.caf" under the first free number from 1, locked. Something at the folder's
    /// path that is not a folder is removed first; missing parents are created. Null with `error` filled when
    /// that is impossible. Any thread.
    static std::shared_ptr<FileHandle> createFile(MaybeError* error);

    /// What this user may still write to the folder's disk; the largest number when the system does not say.
    static int64_t numBytesFree();

    /// Removes a file of this process, while its handle is still open: a file that nobody holds may meanwhile
    /// be cleaned away and its name be another process' new file. A failure is logged as "Could not delete
    /// temp file: %@".
    static void removeFile(const std::filesystem::path& file);

    /// Writes a note beside a file of this process, readable by this user alone; it is removed with the file.
    /// Where the disk has no room for it there is none.
    static void setNote(const std::filesystem::path& file, const QByteArray& note);
    /// The note of a file; empty when there is none. It may be damaged, or be anybody's.
    static QByteArray note(const std::filesystem::path& file);

    /// Files in the folder whose name begins with "Velloria" and that no running process holds.
    static std::vector<std::filesystem::path> leftOvers();

    /// Null with `error` filled when the file is gone or a process holds it, be it this one.
    static std::shared_ptr<LeftOverFile> takeOver(const std::filesystem::path& leftOver, MaybeError* error);
    /// Removes a left-over with its note.
    static MaybeError removeLeftOver(const std::filesystem::path& leftOver);

    /// Removes left-overs of at most so many bytes, notes without a file, and the folder if nothing remains
    /// in it. Errors are ignored.
    static void removeLeftOversUpTo(int64_t numBytes);
};

} // namespace velloria
