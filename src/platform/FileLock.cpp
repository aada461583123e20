#include "platform/FileLock.h"

#include "platform/SystemCall.h"

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>

namespace velloria
{

bool lockNewFile(int descriptor)
{
    // Waits at most for a clean-up that is looking at the file at this moment.
    uninterrupted([&] { return ::flock(descriptor, LOCK_EX); });
    struct stat status = {};
    return ::fstat(descriptor, &status) == 0 && status.st_nlink > 0;
}

UniqueDescriptor lockUnusedFile(int folder, const std::string& name)
{
    constexpr int flags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    struct stat status = {};
    if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(status.st_mode))
        return UniqueDescriptor();
    // Network file systems lock exclusively only what is open for writing.
    const auto open = [&](int access) {
        return UniqueDescriptor(
            uninterrupted([&] { return ::openat(folder, name.c_str(), access | flags); }));
    };
    UniqueDescriptor descriptor = open(O_RDWR);
    if (!descriptor)
        descriptor = open(O_RDONLY);
    if (!descriptor || uninterrupted([&] { return ::flock(descriptor.get(), LOCK_EX | LOCK_NB); }) != 0)
        return UniqueDescriptor();
    if (::fstat(descriptor.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_nlink == 0)
        return UniqueDescriptor();
    return descriptor;
}

std::vector<std::string> namesWithPrefix(int folder, std::string_view prefix)
{
    std::vector<std::string> names;
    UniqueDescriptor descriptor(
        uninterrupted([&] { return ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!descriptor)
        return names;
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(::fdopendir(descriptor.get()), &::closedir);
    if (!listing)
        return names;
    descriptor.release();
    while (const dirent* entry = ::readdir(listing.get())) {
        if (std::string_view(entry->d_name).starts_with(prefix))
            names.emplace_back(entry->d_name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace velloria
