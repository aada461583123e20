#include "platform/FileReplacer.h"

#include "platform/FileAttributes.h"
#include "platform/FileLock.h"
#include "platform/SystemCall.h"

#include <QRandomGenerator>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velloria
{

namespace
{

constexpr const char* kTemporaryPrefix = ".velloria-save-";
constexpr int kNumAttempts = 100;
constexpr int kMaxNumLinks = 40;

QString couldNotBeSaved(const std::filesystem::path& target)
{
    return QStringLiteral("%1 could not be saved").arg(displayName(target));
}

Error folderError(const std::filesystem::path& folder, int errnoValue)
{
    return Error::fromErrno(QStringLiteral("The folder %1 cannot be written").arg(displayPath(folder)),
                            errnoValue);
}

/// What a name stands for after its symbolic links, which may be a file that is yet to be made. Nothing when
/// the links run in a circle.
std::optional<std::filesystem::path> followLinks(std::filesystem::path path)
{
    for (int i = 0; i < kMaxNumLinks; ++i) {
        std::error_code failure;
        if (!std::filesystem::is_symlink(path, failure))
            return path;
        path = path.parent_path() / std::filesystem::read_symlink(path, failure);
    }
    return std::nullopt;
}

UniqueDescriptor openFolder(const std::filesystem::path& folder)
{
    constexpr int flags = O_DIRECTORY | O_CLOEXEC;
    const auto open = [&](int access) {
        return UniqueDescriptor(uninterrupted([&] { return ::open(folder.c_str(), access | flags); }));
    };
    UniqueDescriptor descriptor = open(O_RDONLY);
    // A folder may be writable without being readable.
    return descriptor || errno != EACCES ? std::move(descriptor) : open(O_PATH);
}

std::string processPath(int descriptor)
{
    return "/proc/self/fd/" + std::to_string(descriptor);
}

/// A new file that has no name until it is linked, locked. Empty where the system has no such files.
UniqueDescriptor openNameless(int folder, mode_t mode)
{
    UniqueDescriptor file(
        uninterrupted([&] { return ::openat(folder, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, mode); }));
    if (!file || ::access(processPath(file.get()).c_str(), F_OK) != 0)
        return UniqueDescriptor();
    uninterrupted([&] { return ::flock(file.get(), LOCK_EX); });
    return file;
}

std::string newTemporaryName()
{
    const quint64 number = QRandomGenerator::system()->generate64();
    return kTemporaryPrefix + QByteArray::number(number, 16).toStdString();
}

void removeStaleTemporaries(int folder)
{
    for (const std::string& name : namesWithPrefix(folder, kTemporaryPrefix)) {
        if (const UniqueDescriptor file = lockUnusedFile(folder, name))
            uninterrupted([&] { return ::unlinkat(folder, name.c_str(), 0); });
    }
}

bool isUnchanged(const struct stat& then, const struct stat& now)
{
    return then.st_dev == now.st_dev && then.st_ino == now.st_ino && then.st_size == now.st_size &&
           then.st_mtim.tv_sec == now.st_mtim.tv_sec && then.st_mtim.tv_nsec == now.st_mtim.tv_nsec;
}

/// Why this user must not put another file in the place of an existing one.
MaybeError refusalToReplace(int folder, const std::string& name, const struct stat& target,
                            const QString& shownName)
{
    if (auto refusal = refusalUnlessRegular(target.st_mode, shownName))
        return refusal;
    if (::faccessat(folder, name.c_str(), W_OK, AT_EACCESS) != 0)
        return Error::fromErrno(QStringLiteral("%1 must not be changed").arg(shownName), errno);
    struct stat parent = {};
    const uid_t user = ::geteuid();
    if (user != 0 && ::fstat(folder, &parent) == 0 && (parent.st_mode & S_ISVTX) != 0 &&
        parent.st_uid != user && target.st_uid != user)
        return Error::fromErrno(QStringLiteral("%1 must not be replaced").arg(shownName), EPERM);
    return std::nullopt;
}

/// Brings a new name to the disk; gives the system's error number, or 0.
int flushFolder(int folder, int fileInIt)
{
    if (uninterrupted([&] { return ::fsync(folder); }) == 0)
        return 0;
    // A folder that must not be read cannot be flushed by itself, only with all of its file system. Some file
    // systems (EINVAL, EROFS) have nothing to flush to.
    if (errno == EBADF && uninterrupted([&] { return ::syncfs(fileInIt); }) == 0)
        return 0;
    return errno == EINVAL || errno == EROFS ? 0 : errno;
}

} // namespace

struct FileReplacer::State {
    std::filesystem::path askedTarget;
    /// The target behind the links, and its last component.
    std::filesystem::path target;
    std::string name;
    std::filesystem::path folderPath;
    UniqueDescriptor folder;
    /// What the target was when the replacement began; nothing for a new one.
    std::optional<struct stat> replaced;
    /// Empty while the new file is nameless, and after the renaming.
    std::string temporaryName;
    bool hasAttributes = false;
    /// What the new file did not get of the old one's attributes.
    QStringList attributesLost;

    MaybeError findTarget();
    UniqueDescriptor openNamed();
    UniqueDescriptor openNew();
    /// Until the new file has the old one's mode, it is no business of others; nor should it never get it.
    mode_t newMode() const { return replaced ? S_IRUSR | S_IWUSR : 0666; }
    bool link(int descriptor, const std::string& as) const;
    bool nameTemporarily(int descriptor);
    MaybeError copyToNamed(std::shared_ptr<FileHandle>& handle);
    void keepAttributes(int descriptor);
    MaybeError changeOfTarget() const;
    bool rename(int descriptor);
};

MaybeError FileReplacer::State::findTarget()
{
    const QString shownName = displayName(askedTarget);
    struct stat status = {};
    if (uninterrupted([&] { return ::stat(askedTarget.c_str(), &status); }) == 0) {
        if (auto refusal = refusalUnlessRegular(status.st_mode, shownName))
            return refusal;
        replaced = status;
    } else if (errno != ENOENT) {
        return Error::fromErrno(couldNotBeSaved(askedTarget), errno);
    }
    const auto followed = followLinks(askedTarget);
    if (!followed || !followed->has_filename())
        return Error::fromErrno(couldNotBeSaved(askedTarget), followed ? ENOENT : ELOOP);
    target = *followed;
    name = target.filename().native();
    folderPath = target.has_parent_path() ? target.parent_path() : ".";
    folder = openFolder(folderPath);
    if (!folder)
        return folderError(folderPath, errno);
    if (replaced)
        return refusalToReplace(folder.get(), name, *replaced, shownName);
    return std::nullopt;
}

/// A file under a short temporary name. Empty, with errno set, when the folder takes none.
UniqueDescriptor FileReplacer::State::openNamed()
{
    for (int i = 0; i < kNumAttempts; ++i) {
        const std::string newName = newTemporaryName();
        constexpr int flags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
        UniqueDescriptor file(::openat(folder.get(), newName.c_str(), flags, newMode()));
        if (!file && errno != EEXIST && errno != EINTR)
            return file;
        if (file && lockNewFile(file.get())) {
            temporaryName = newName;
            return file;
        }
    }
    return UniqueDescriptor();
}

UniqueDescriptor FileReplacer::State::openNew()
{
    UniqueDescriptor file = openNameless(folder.get(), newMode());
    return file ? std::move(file) : openNamed();
}

bool FileReplacer::State::link(int descriptor, const std::string& as) const
{
    const std::string path = processPath(descriptor);
    return uninterrupted([&] {
               return ::linkat(AT_FDCWD, path.c_str(), folder.get(), as.c_str(), AT_SYMLINK_FOLLOW);
           }) == 0;
}

bool FileReplacer::State::nameTemporarily(int descriptor)
{
    for (int i = 0; i < kNumAttempts; ++i) {
        std::string newName = newTemporaryName();
        if (link(descriptor, newName)) {
            temporaryName = std::move(newName);
            return true;
        }
        if (errno != EEXIST)
            break;
    }
    return false;
}

/// For a file system that has nameless files but lets none get a name.
MaybeError FileReplacer::State::copyToNamed(std::shared_ptr<FileHandle>& handle)
{
    UniqueDescriptor file = openNamed();
    if (!file)
        return Error::fromErrno(couldNotBeSaved(askedTarget), errno);
    const auto named = FileHandle::adopt(file.release(), askedTarget);
    MaybeError error;
    named->copyFrom(*handle, 0, 0, handle->length(), &error);
    if (!error) {
        keepAttributes(named->descriptor());
        error = named->sync();
    }
    if (!error)
        handle = named;
    return error;
}

void FileReplacer::State::keepAttributes(int descriptor)
{
    if (replaced)
        attributesLost = copyFileAttributes(target, *replaced, descriptor);
}

/// What another program did to the target since the replacement began, as an error.
MaybeError FileReplacer::State::changeOfTarget() const
{
    struct stat now = {};
    if (::fstatat(folder.get(), name.c_str(), &now, 0) != 0 || (replaced && isUnchanged(*replaced, now)))
        return std::nullopt;
    const QString what = replaced ? QStringLiteral("another program changed it while it was being saved")
                                  : QStringLiteral("another program made a file of that name meanwhile");
    return Error{Error::Code::targetChanged,
                 QStringLiteral("%1: %2. That file was left alone.").arg(couldNotBeSaved(askedTarget), what)};
}

/// Gives the file its final name. An interrupted rename may have been done all the same.
bool FileReplacer::State::rename(int descriptor)
{
    const int inFolder = folder.get();
    if (uninterrupted([&] { return ::renameat(inFolder, temporaryName.c_str(), inFolder, name.c_str()); }) ==
        0)
        return true;
    const int failure = errno;
    struct stat own = {};
    struct stat named = {};
    const bool isThere = failure == ENOENT && ::fstat(descriptor, &own) == 0 &&
                         ::fstatat(inFolder, name.c_str(), &named, 0) == 0 && own.st_dev == named.st_dev &&
                         own.st_ino == named.st_ino;
    errno = failure;
    return isThere;
}

std::unique_ptr<FileReplacer> FileReplacer::create(const std::filesystem::path& target, MaybeError* error)
{
    auto state = std::make_unique<State>();
    state->askedTarget = target;
    MaybeError failure = state->findTarget();
    UniqueDescriptor file;
    if (!failure) {
        removeStaleTemporaries(state->folder.get());
        file = state->openNew();
        if (!file)
            failure = folderError(state->folderPath, errno);
    }
    if (failure) {
        if (error)
            *error = std::move(failure);
        return nullptr;
    }
    std::unique_ptr<FileReplacer> replacer(new FileReplacer(std::move(state)));
    replacer->mHandle = FileHandle::adopt(file.release(), target);
    return replacer;
}

FileReplacer::FileReplacer(std::unique_ptr<State> state)
    : mState(std::move(state))
{
}

FileReplacer::~FileReplacer()
{
    if (!mState->temporaryName.empty())
        uninterrupted([&] { return ::unlinkat(mState->folder.get(), mState->temporaryName.c_str(), 0); });
}

MaybeError FileReplacer::flush()
{
    if (!std::exchange(mState->hasAttributes, true))
        mState->keepAttributes(mHandle->descriptor());
    return mHandle->sync();
}

MaybeError FileReplacer::commit()
{
    if (auto error = flush())
        return error;
    State& state = *mState;
    if (auto error = state.changeOfTarget())
        return error;
    const bool isNameless = state.temporaryName.empty();
    // A name that is free is taken directly; then nothing is left to rename.
    if (!(isNameless && !state.replaced && state.link(mHandle->descriptor(), state.name))) {
        if (isNameless && !state.nameTemporarily(mHandle->descriptor())) {
            if (auto error = state.copyToNamed(mHandle))
                return error;
        }
        if (!state.rename(mHandle->descriptor()))
            return Error::fromErrno(couldNotBeSaved(state.askedTarget), errno);
        state.temporaryName.clear();
    }
    if (!state.attributesLost.isEmpty())
        mWarnings +=
            QStringLiteral("%1 is saved, but the system did not let it keep %2.")
                .arg(displayName(state.askedTarget), state.attributesLost.join(QStringLiteral(", ")));
    // The replacement stands even where the folder cannot be flushed.
    if (const int failure = flushFolder(state.folder.get(), mHandle->descriptor()); failure != 0)
        mWarnings +=
            Error::fromErrno(QStringLiteral("%1 is saved, but the folder could not be written to the "
                                            "disk; after a power failure now the old file may be back")
                                 .arg(displayName(state.askedTarget)),
                             failure)
                .message;
    ::flock(mHandle->descriptor(), LOCK_UN);
    return std::nullopt;
}

QStringList FileReplacer::lossesWhenReplacing(const std::filesystem::path& target)
{
    struct stat status = {};
    if (::stat(target.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    QStringList losses;
    const QString name = displayName(target);
    const auto numOthers = static_cast<qulonglong>(status.st_nlink - 1);
    if (numOthers == 1)
        losses += QStringLiteral("%1 has another name (hard link); it will keep the old contents.").arg(name);
    else if (numOthers > 1)
        losses += QStringLiteral("%1 has %2 other names (hard links); they will keep the old contents.")
                      .arg(name, QString::number(numOthers));
    return losses + ownershipLosses(status, name);
}

} // namespace velloria
