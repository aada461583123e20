#pragma once

#include "document/SoundDocument.h"

#include <filesystem>
#include <list>
#include <memory>

namespace velloria
{

/// Documents opened from files only to copy from them, kept for the next time: a script that takes a hundred
/// pieces of one recording opens it once, and all of its clips share one open file. Main thread.
class RecentDocuments
{
public:
    /// The file's document, opened anew when the file is another one by now; null with `error` filled.
    std::shared_ptr<SoundDocument> documentAtPath(const std::filesystem::path& path, Progress& progress,
                                                  MaybeError* error);

private:
    /// What tells one state of a file from another.
    struct Identity {
        uint64_t device = 0;
        uint64_t inode = 0;
        int64_t size = 0;
        int64_t modificationSeconds = 0;
        int64_t modificationNanoseconds = 0;
        bool operator==(const Identity&) const = default;
    };
    struct Entry {
        std::filesystem::path path;
        Identity identity;
        std::shared_ptr<SoundDocument> document;
    };

    static Identity identityOf(const std::filesystem::path& path);

    /// The one used last comes first.
    std::list<Entry> mEntries;
};

} // namespace velloria
