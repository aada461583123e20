#pragma once

#include "platform/FileHandle.h"

#include <vector>

namespace velloria
{

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

    /// Removes a file of this process, while its handle is still open: a file that nobody holds may meanwhile
    /// be cleaned away and its name be another process' new file. A failure is logged as "Could not delete
    /// temp file: %@".
    static void removeFile(const std::filesystem::path& file);

    /// Files in the folder whose name begins with "Velloria" and that no running process holds.
    static std::vector<std::filesystem::path> leftOvers();

    /// Removes those left-overs, then the folder if nothing remains in it. Errors are ignored.
    static void removeLeftOvers();
};

} // namespace velloria
