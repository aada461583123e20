#include "platform/ScratchNote.h"

#include "platform/FileLock.h"
#include "platform/SystemCall.h"
#include "platform/UniqueDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace velloria
{

namespace
{

constexpr std::string_view kPrefix = ".Velloria_Temp-";
constexpr std::string_view kSuffix = ".json";
constexpr int64_t kMostBytes = 65536;

UniqueDescriptor createExclusively(const std::filesystem::path& path)
{
    const auto create = [&path] {
        constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
        return UniqueDescriptor(
            uninterrupted([&path] { return ::open(path.c_str(), flags, S_IRUSR | S_IWUSR); }));
    };
    UniqueDescriptor file = create();
    if (!file && errno == EEXIST && uninterrupted([&path] { return ::unlink(path.c_str()); }) == 0)
        file = create();
    return file;
}

} // namespace

std::string ScratchNote::nameFor(const std::string& scratchName)
{
    return std::string(".").append(scratchName).append(kSuffix);
}

std::filesystem::path ScratchNote::pathFor(const std::filesystem::path& scratchFile)
{
    return scratchFile.parent_path() / nameFor(scratchFile.filename());
}

void ScratchNote::write(const std::filesystem::path& scratchFile, const QByteArray& note)
{
    const std::filesystem::path path = pathFor(scratchFile);
    const UniqueDescriptor file = createExclusively(path);
    const auto write = [&] {
        return ::write(file.get(), note.constData(), static_cast<size_t>(note.size()));
    };
    if (file && uninterrupted(write) != note.size())
        uninterrupted([&path] { return ::unlink(path.c_str()); });
}

QByteArray ScratchNote::read(const std::filesystem::path& scratchFile)
{
    constexpr int flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    const std::filesystem::path path = pathFor(scratchFile);
    const UniqueDescriptor file(uninterrupted([&path] { return ::open(path.c_str(), flags); }));
    struct stat status = {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_uid != ::geteuid() || status.st_size > kMostBytes)
        return {};
    QByteArray note(static_cast<qsizetype>(status.st_size), '\0');
    const ssize_t numRead =
        uninterrupted([&] { return ::read(file.get(), note.data(), static_cast<size_t>(note.size())); });
    note.truncate(std::max<qsizetype>(0, numRead));
    return note;
}

void ScratchNote::removeOrphans(int folder)
{
    for (const std::string& name : namesWithPrefix(folder, kPrefix)) {
        if (!name.ends_with(kSuffix))
            continue;
        // Taking the scratch file's name keeps another process from doing so at this moment.
        const std::string scratchName = name.substr(1, name.size() - 1 - kSuffix.size());
        constexpr int flags = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
        const UniqueDescriptor claim(
            uninterrupted([&] { return ::openat(folder, scratchName.c_str(), flags, S_IRUSR | S_IWUSR); }));
        if (!claim || !lockNewFile(claim.get()))
            continue;
        ::unlinkat(folder, name.c_str(), 0);
        ::unlinkat(folder, scratchName.c_str(), 0);
    }
}

} // namespace velloria
