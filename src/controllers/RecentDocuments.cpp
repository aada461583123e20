#include "controllers/RecentDocuments.h"

#include <algorithm>
#include <sys/stat.h>

namespace velloria
{

namespace
{

// Each entry may hold an open file, of which a process usually has a thousand.
constexpr size_t kMaxEntries = 64;

} // namespace

RecentDocuments::Identity RecentDocuments::identityOf(const std::filesystem::path& path)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0)
        return {};
    return {status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

std::shared_ptr<SoundDocument> RecentDocuments::documentAtPath(const std::filesystem::path& path,
                                                               Progress& progress, MaybeError* error)
{
    const Identity identity = identityOf(path);
    const auto found = std::find_if(mEntries.begin(), mEntries.end(),
                                    [&path](const Entry& entry) { return entry.path == path; });
    if (found != mEntries.end()) {
        if (found->identity == identity) {
            mEntries.splice(mEntries.begin(), mEntries, found);
            return found->document;
        }
        mEntries.erase(found);
    }
    std::shared_ptr<SoundDocument> document = SoundDocument::readFromPath(path, QString(), progress, error);
    if (!document)
        return nullptr;
    mEntries.push_front({path, identity, document});
    if (mEntries.size() > kMaxEntries)
        mEntries.pop_back();
    return document;
}

} // namespace velloria
