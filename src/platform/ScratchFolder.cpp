#include "platform/ScratchFolder.h"

#include "platform/FileLock.h"
#include "platform/Log.h"
#include "platform/ScratchNote.h"
#include "platform/SystemCall.h"

#include <QDir>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <limits>
#include <map>
#include <mutex>
#include <sys/resource.h>
#include <sys/stat.h>

namespace velloria
{

namespace
{

constexpr int kNumAttempts = 100;

/// What this process knows of the numbers of a folder, so that the search for a free one need not ask the
/// system about thousands again and again.
struct FolderNumbers {
    std::vector<bool> live; ///< those that it has open handles for
    size_t firstToTry = 1;  ///< those below were taken, by whomever, when they were tried
};

struct LiveNumbers {
    std::mutex mutex;
    std::map<std::filesystem::path, FolderNumbers> byFolder;
};

LiveNumbers& liveNumbers()
{
    // Never destroyed: clips in static storage may let their files go after any other static object.
    static auto* const numbers = new LiveNumbers;
    return *numbers;
}

std::string fileName(size_t number)
{
    char text[64];
    std::snprintf(text, sizeof text, "Velloria_Temp-%03zu.caf", number);
    return text;
}

void forgetNumber(const std::filesystem::path& folder, size_t number)
{
    LiveNumbers& numbers = liveNumbers();
    const std::lock_guard lock(numbers.mutex);
    const auto found = numbers.byFolder.find(folder);
    if (found == numbers.byFolder.end() || number == 0)
        return;
    if (number < found->second.live.size())
        found->second.live[number] = false;
    found->second.firstToTry = std::min(found->second.firstToTry, number);
}

/// After files were removed that were not this process'.
void tryAllNumbersAgain(const std::filesystem::path& folder)
{
    LiveNumbers& numbers = liveNumbers();
    const std::lock_guard lock(numbers.mutex);
    const auto found = numbers.byFolder.find(folder);
    if (found != numbers.byFolder.end())
        found->second.firstToTry = 1;
}

/// Each scratch file keeps a descriptor open, and undo keeps many scratch files.
void raiseDescriptorLimit()
{
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

UniqueDescriptor openFolder(const std::filesystem::path& path)
{
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    return UniqueDescriptor(uninterrupted([&] { return ::open(path.c_str(), flags); }));
}

Error folderError(const std::filesystem::path& path, int errnoValue)
{
    return Error::fromErrno(QStringLiteral("The scratch folder %1 could not be made").arg(displayPath(path)),
                            errnoValue);
}

/// Makes the folder and takes away what is in its place. False when it is to be tried again because
/// something else changed meanwhile, or `error` is filled.
bool makeFolder(const std::filesystem::path& path, MaybeError* error)
{
    std::error_code ignored;
    std::filesystem::create_directories(path.parent_path(), ignored);
    if (uninterrupted([&] { return ::mkdir(path.c_str(), S_IRWXU); }) == 0)
        return true;
    if (errno != EEXIST) {
        *error = folderError(path, errno);
        return false;
    }
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0 || S_ISDIR(status.st_mode))
        return true;
    if (uninterrupted([&] { return ::unlink(path.c_str()); }) != 0 && errno != ENOENT && errno != EISDIR)
        *error = folderError(path, errno);
    return false;
}

/// The folder, made where it is missing, as a private one of this user. Empty with `error` filled.
UniqueDescriptor openOwnFolder(const std::filesystem::path& path, MaybeError* error)
{
    for (int i = 0; i < kNumAttempts; ++i) {
        if (!makeFolder(path, error)) {
            if (*error)
                break;
            continue;
        }
        UniqueDescriptor folder = openFolder(path);
        struct stat status = {};
        if (!folder || ::fstat(folder.get(), &status) != 0) {
            if (errno == ENOENT || errno == ENOTDIR || errno == ELOOP)
                continue;
            *error = folderError(path, errno);
            break;
        }
        if (status.st_uid != ::geteuid()) {
            *error = folderError(path, EPERM);
            break;
        }
        if ((status.st_mode & 07777) != S_IRWXU)
            ::fchmod(folder.get(), S_IRWXU);
        return folder;
    }
    if (!*error)
        *error = folderError(path, EAGAIN);
    return UniqueDescriptor();
}

struct NumberedFile {
    UniqueDescriptor descriptor;
    size_t number = 0;
};

/// Creates and locks the first free file in `folder`. No descriptor, with errno set, when the folder
/// cannot take one (ENOENT: the folder itself was removed meanwhile).
NumberedFile createNumberedFile(int folder, FolderNumbers& numbers)
{
    std::vector<bool>& live = numbers.live;
    for (size_t number = numbers.firstToTry;; ++number) {
        if (number < live.size() && live[number])
            continue;
        constexpr int flags = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
        UniqueDescriptor file(uninterrupted(
            [&] { return ::openat(folder, fileName(number).c_str(), flags, S_IRUSR | S_IWUSR); }));
        if (!file) {
            if (errno == EEXIST)
                continue;
            return {};
        }
        if (!lockNewFile(file.get()))
            continue;
        // Of a file whose removal was interrupted; the number, and so the note's name, is this process' now.
        ::unlinkat(folder, ScratchNote::nameFor(fileName(number)).c_str(), 0);
        if (live.size() <= number)
            live.resize(number + 1);
        live[number] = true;
        numbers.firstToTry = number + 1;
        return {std::move(file), number};
    }
}

std::shared_ptr<FileHandle> handleOf(NumberedFile file, const std::filesystem::path& folder)
{
    const auto handle = FileHandle::adopt(file.descriptor.release(), folder / fileName(file.number));
    const auto letGo = [handle, folder, number = file.number](FileHandle*) { forgetNumber(folder, number); };
    return std::shared_ptr<FileHandle>(handle.get(), letGo);
}

/// The user's temporary directory, which need not exist yet.
std::filesystem::path temporaryDirectory()
{
    const QString known = QDir::tempPath();
    if (!known.isEmpty())
        return pathFromQString(known);
    // Qt knows no folder that is missing or whose name is no text.
    std::error_code ignored;
    return std::filesystem::absolute(qgetenv("TMPDIR").toStdString(), ignored);
}

} // namespace

std::filesystem::path ScratchFolder::path()
{
    std::filesystem::path folder = temporaryDirectory() / "Velloria_Temp";
    struct stat status = {};
    if (::lstat(folder.c_str(), &status) == 0 && (S_ISLNK(status.st_mode) || status.st_uid != ::geteuid()))
        folder += std::string("-").append(std::to_string(::geteuid()));
    return folder;
}

std::shared_ptr<FileHandle> ScratchFolder::createFile(MaybeError* error)
{
    raiseDescriptorLimit();
    MaybeError failure;
    LiveNumbers& numbers = liveNumbers();
    const std::lock_guard lock(numbers.mutex);
    for (int i = 0; i < kNumAttempts && !failure; ++i) {
        const std::filesystem::path folderPath = path();
        const UniqueDescriptor folder = openOwnFolder(folderPath, &failure);
        if (!folder)
            break;
        NumberedFile file = createNumberedFile(folder.get(), numbers.byFolder[folderPath]);
        if (file.descriptor)
            return handleOf(std::move(file), folderPath);
        const QString what =
            QStringLiteral("No scratch file could be made in %1").arg(displayPath(folderPath));
        if (errno != ENOENT || i == kNumAttempts - 1)
            failure = Error::fromErrno(what, errno);
    }
    if (error)
        *error = std::move(failure);
    return nullptr;
}

int64_t ScratchFolder::numBytesFree()
{
    std::error_code failure;
    std::filesystem::path folder = path();
    while (folder.has_relative_path() && !std::filesystem::exists(folder, failure))
        folder = folder.parent_path();
    const std::filesystem::space_info space = std::filesystem::space(folder, failure);
    constexpr auto largest = static_cast<uintmax_t>(std::numeric_limits<int64_t>::max());
    // Some file systems know no size, and say 0 of all.
    return static_cast<int64_t>(failure || space.capacity == 0 ? largest
                                                               : std::min(space.available, largest));
}

void ScratchFolder::removeFile(const std::filesystem::path& file)
{
    // The note first: as long as the file is there nobody else takes the number.
    uninterrupted([&] { return ::unlink(ScratchNote::pathFor(file).c_str()); });
    const bool isRemoved = uninterrupted([&] { return ::unlink(file.c_str()); }) == 0;
    if (!isRemoved && errno != ENOENT && errno != ENOTDIR && errno != EISDIR)
        logLine(QStringLiteral("Could not delete temp file: %1").arg(displayPath(file)));
    size_t number = 0;
    if (std::sscanf(file.filename().c_str(), "Velloria_Temp-%zu.caf", &number) == 1)
        forgetNumber(file.parent_path(), number);
}

void ScratchFolder::setNote(const std::filesystem::path& file, const QByteArray& note)
{
    ScratchNote::write(file, note);
}

QByteArray ScratchFolder::note(const std::filesystem::path& file)
{
    return ScratchNote::read(file);
}

std::vector<std::filesystem::path> ScratchFolder::leftOvers()
{
    std::vector<std::filesystem::path> files;
    const std::filesystem::path folderPath = path();
    const UniqueDescriptor folder = openFolder(folderPath);
    if (!folder)
        return files;
    for (const std::string& name : namesWithPrefix(folder.get(), "Velloria")) {
        if (lockUnusedFile(folder.get(), name))
            files.push_back(folderPath / name);
    }
    return files;
}

std::shared_ptr<LeftOverFile> ScratchFolder::takeOver(const std::filesystem::path& leftOver,
                                                      MaybeError* error)
{
    const UniqueDescriptor folder = openFolder(leftOver.parent_path());
    UniqueDescriptor lock = folder ? lockUnusedFile(folder.get(), leftOver.filename()) : UniqueDescriptor();
    if (lock)
        return std::make_shared<LeftOverFile>(leftOver, std::move(lock));
    if (error)
        *error = Error{Error::Code::failed,
                       QStringLiteral("It is gone, or another window has opened it meanwhile.")};
    return nullptr;
}

LeftOverFile::~LeftOverFile()
{
    if (mIsAnswered.load(std::memory_order_relaxed))
        ScratchFolder::removeFile(mPath);
}

MaybeError ScratchFolder::removeLeftOver(const std::filesystem::path& leftOver)
{
    MaybeError error;
    const std::shared_ptr<LeftOverFile> file = takeOver(leftOver, &error);
    if (!file)
        return error;
    // Last what says whose it is: a folder that cannot be written keeps both.
    const bool canWrite = ::access(leftOver.parent_path().c_str(), W_OK | X_OK) == 0;
    if (canWrite)
        uninterrupted([&] { return ::unlink(ScratchNote::pathFor(leftOver).c_str()); });
    if (!canWrite || uninterrupted([&] { return ::unlink(leftOver.c_str()); }) != 0)
        return Error::fromErrno(QStringLiteral("%1 could not be removed").arg(displayPath(leftOver)), errno);
    tryAllNumbersAgain(leftOver.parent_path());
    return std::nullopt;
}

void ScratchFolder::removeLeftOversUpTo(int64_t numBytes)
{
    const std::filesystem::path folderPath = path();
    const UniqueDescriptor folder = openFolder(folderPath);
    if (!folder)
        return;
    for (const std::string& name : namesWithPrefix(folder.get(), "Velloria")) {
        const UniqueDescriptor file = lockUnusedFile(folder.get(), name);
        struct stat status = {};
        if (!file || ::fstat(file.get(), &status) != 0 || status.st_size > numBytes)
            continue;
        ::unlinkat(folder.get(), ScratchNote::nameFor(name).c_str(), 0);
        ::unlinkat(folder.get(), name.c_str(), 0);
    }
    ScratchNote::removeOrphans(folder.get());
    tryAllNumbersAgain(folderPath);
    ::rmdir(folderPath.c_str());
}

} // namespace velloria
