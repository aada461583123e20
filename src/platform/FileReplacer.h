#pragma once

#include "platform/FileHandle.h"

#include <QStringList>

namespace velloria
{

/// Writes a new file and puts it in the place of `target` in one step, so that at every instant there is one
/// complete old or new file under the target's name. The new file is made beside the target (nameless where
/// the file system can, else under a short temporary name), flushed to disk and renamed over it. Symbolic
/// links are followed: the file they point to is replaced. Owner, mode and extended attributes of an existing
/// target are kept. Destruction without commit() leaves the target untouched and no temporary file.
class FileReplacer
{
public:
    /// Starts a replacement. Null with `error` filled when the folder cannot be written, the target is
    /// not a regular file, or the existing file must not be written by this user.
    static std::unique_ptr<FileReplacer> create(const std::filesystem::path& target, MaybeError* error);

    ~FileReplacer();
    FileReplacer(const FileReplacer&) = delete;
    FileReplacer& operator=(const FileReplacer&) = delete;

    /// The new file, open for reading and writing, empty.
    const std::shared_ptr<FileHandle>& handle() const { return mHandle; }

    /// Flushes the new file and renames it over the target. The target is untouched when this fails. It
    /// fails, too, when another program changed or made the target since create(): that one would be lost.
    /// The flush may take seconds; call flush() on another thread first to keep the main thread free.
    MaybeError commit();

    /// What commit() could not do although the new file stands under its name: one sentence each.
    const QStringList& warnings() const { return mWarnings; }

    /// Writes the new file's bytes to disk; commit() then has nothing left to flush.
    MaybeError flush();

    /// What replacing this target would lose, one sentence each (other hard links keep the old contents,
    /// the owner cannot be kept, ...). Empty when nothing is lost, or the target does not exist.
    static QStringList lossesWhenReplacing(const std::filesystem::path& target);

private:
    struct State;
    explicit FileReplacer(std::unique_ptr<State> state);

    std::unique_ptr<State> mState;
    std::shared_ptr<FileHandle> mHandle;
    QStringList mWarnings;
};

} // namespace velloria
