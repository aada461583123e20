#include "platform/FileHandle.h"

#include "platform/FileAttributes.h"
#include "platform/SystemCall.h"
#include "platform/UniqueDescriptor.h"

#include <QFile>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <limits>
#include <mutex>
#include <sys/statvfs.h>
#include <thread>
#include <vector>

namespace velloria
{

namespace
{

constexpr int64_t kKernelCopyPiece = int64_t{256} << 20;
constexpr size_t kCopyBufferSize = size_t{1} << 20;

bool areEqual(const timespec& a, const timespec& b)
{
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

bool isSameFile(const struct stat& a, const struct stat& b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

/// The clock of file times moves in ticks of some milliseconds, and a change within the tick of the one
/// before leaves no trace. A file that was written just now is looked at when that tick is over.
void waitForTickAfter(int descriptor)
{
    constexpr int mostWaits = 20;
    struct stat status = {};
    timespec now = {};
    for (int i = 0; i < mostWaits; ++i) {
        if (::fstat(descriptor, &status) != 0 || ::clock_gettime(CLOCK_REALTIME_COARSE, &now) != 0 ||
            !areEqual(status.st_mtim, now))
            return;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void assignError(MaybeError* error, Error value)
{
    if (error)
        *error = std::move(value);
}

Error openError(const std::filesystem::path& path, int errnoValue)
{
    return Error::fromErrno(QStringLiteral("%1 could not be opened").arg(displayName(path)), errnoValue);
}

/// A write beyond the process' size limit then fails with EFBIG instead of ending the process.
void ignoreFileSizeSignal()
{
    static std::once_flag once;
    std::call_once(once, [] {
        struct sigaction current = {};
        if (::sigaction(SIGXFSZ, nullptr, &current) == 0 && current.sa_handler == SIG_DFL)
            ::signal(SIGXFSZ, SIG_IGN);
    });
}

Error writeError(const std::filesystem::path& path, int errnoValue)
{
    const QString what = QStringLiteral("%1 could not be written").arg(displayName(path));
    const auto full = [&](const QString& reason) {
        return Error{Error::Code::diskFull, QStringLiteral("%1: %2.").arg(reason, what)};
    };
    switch (errnoValue) {
    case ENOSPC:
        return full(QStringLiteral("The disk is full"));
    case EDQUOT:
        return full(QStringLiteral("The disk quota is used up"));
    case EFBIG:
        return full(QStringLiteral("The largest file size allowed here is reached"));
    default:
        Error error = Error::fromErrno(what, errnoValue);
        if (error.code == Error::Code::failed)
            error.code = Error::Code::writeFailed;
        return error;
    }
}

std::span<std::byte> copyBuffer()
{
    thread_local std::vector<std::byte> buffer(kCopyBufferSize);
    return buffer;
}

} // namespace

MaybeError refusalUnlessRegular(unsigned mode, const QString& name)
{
    if (S_ISREG(mode))
        return std::nullopt;
    if (S_ISDIR(mode))
        return Error{Error::Code::failed, QStringLiteral("%1 is a folder.").arg(name)};
    return Error{Error::Code::failed, QStringLiteral("%1 is not a regular file.").arg(name)};
}

std::shared_ptr<FileHandle> FileHandle::openForReading(const std::filesystem::path& path, MaybeError* error)
{
    // Looked at before it is opened: opening alone would already wake the writer of a FIFO.
    struct stat status = {};
    if (uninterrupted([&] { return ::stat(path.c_str(), &status); }) != 0) {
        assignError(error, openError(path, errno));
        return nullptr;
    }
    if (auto refusal = refusalUnlessRegular(status.st_mode, displayName(path))) {
        assignError(error, std::move(*refusal));
        return nullptr;
    }
    UniqueDescriptor descriptor(
        uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); }));
    if (!descriptor || ::fstat(descriptor.get(), &status) != 0) {
        assignError(error, openError(path, errno));
        return nullptr;
    }
    if (auto refusal = refusalUnlessRegular(status.st_mode, displayName(path))) {
        assignError(error, std::move(*refusal));
        return nullptr;
    }
    waitForTickAfter(descriptor.get());
    auto handle = adopt(descriptor.release(), path);
    if (S_ISREG(handle->mOpened.st_mode))
        return handle;
    assignError(error, openError(path, EIO));
    return nullptr;
}

std::shared_ptr<FileHandle> FileHandle::adopt(int descriptor, const std::filesystem::path& path)
{
    return std::shared_ptr<FileHandle>(new FileHandle(descriptor, path));
}

FileHandle::FileHandle(int descriptor, std::filesystem::path path)
    : mDescriptor(descriptor)
    , mPath(std::move(path))
{
    if (::fstat(mDescriptor, &mOpened) == 0)
        mOpenedAttributes = extendedAttributesDigest(mDescriptor);
}

FileHandle::~FileHandle()
{
    ::close(mDescriptor);
}

int64_t FileHandle::length() const
{
    struct stat status = {};
    // Where the system does not say, the length at opening: a file that seemed to be empty could be saved so,
    // whereas bytes that cannot be read are missed.
    return ::fstat(mDescriptor, &status) == 0 ? status.st_size : mOpened.st_size;
}

int64_t FileHandle::readAt(int64_t offset, std::span<std::byte> out) const
{
    size_t numRead = 0;
    while (numRead < out.size()) {
        const ssize_t count = uninterrupted([&] {
            return ::pread(mDescriptor, out.data() + numRead, out.size() - numRead,
                           offset + static_cast<int64_t>(numRead));
        });
        // The end of the file is for the caller to judge, a disk that fails is not.
        if (count < 0)
            noteMissedRead();
        if (count <= 0)
            break;
        numRead += static_cast<size_t>(count);
    }
    return static_cast<int64_t>(numRead);
}

QByteArray FileHandle::readAt(int64_t offset, int64_t numBytes) const
{
    if (offset < 0 || numBytes <= 0)
        return {};
    // Clamped first, so that a length from a damaged header allocates no more than there is to read.
    const int64_t numAvailable = std::min(numBytes, length() - offset);
    if (numAvailable <= 0)
        return {};
    QByteArray bytes(numAvailable, Qt::Uninitialized);
    bytes.truncate(
        readAt(offset, std::as_writable_bytes(std::span(bytes.data(), static_cast<size_t>(bytes.size())))));
    return bytes;
}

MaybeError FileHandle::writeAt(int64_t offset, std::span<const std::byte> bytes)
{
    ignoreFileSizeSignal();
    size_t numWritten = 0;
    while (numWritten < bytes.size()) {
        const ssize_t count = uninterrupted([&] {
            return ::pwrite(mDescriptor, bytes.data() + numWritten, bytes.size() - numWritten,
                            offset + static_cast<int64_t>(numWritten));
        });
        if (count <= 0)
            return writeError(mPath, count < 0 ? errno : EIO);
        numWritten += static_cast<size_t>(count);
    }
    return std::nullopt;
}

MaybeError FileHandle::writeAt(int64_t offset, const QByteArray& bytes)
{
    return writeAt(offset, std::as_bytes(std::span(bytes.constData(), static_cast<size_t>(bytes.size()))));
}

int64_t FileHandle::copyInKernel(const FileHandle& source, int64_t sourceOffset, int64_t offset,
                                 int64_t numBytes)
{
    ignoreFileSizeSignal();
    int64_t numCopied = 0;
    while (numCopied < numBytes) {
        loff_t from = sourceOffset + numCopied;
        loff_t to = offset + numCopied;
        const auto piece = static_cast<size_t>(std::min(numBytes - numCopied, kKernelCopyPiece));
        const ssize_t count = uninterrupted(
            [&] { return ::copy_file_range(source.mDescriptor, &from, mDescriptor, &to, piece, 0); });
        if (count <= 0)
            break;
        numCopied += count;
    }
    return numCopied;
}

int64_t FileHandle::copyFrom(const FileHandle& source, int64_t sourceOffset, int64_t offset, int64_t numBytes,
                             MaybeError* error)
{
    // Whatever stopped the kernel (another file system, an early 0, a full disk), the loop below either gets
    // further or meets the true error.
    int64_t numCopied = copyInKernel(source, sourceOffset, offset, numBytes);
    while (numCopied < numBytes) {
        const std::span<std::byte> buffer = copyBuffer();
        const auto wanted = std::min(static_cast<size_t>(numBytes - numCopied), buffer.size());
        const int64_t numRead = source.readAt(sourceOffset + numCopied, buffer.first(wanted));
        if (numRead == 0)
            break;
        if (auto failure = writeAt(offset + numCopied, buffer.first(static_cast<size_t>(numRead)))) {
            assignError(error, std::move(*failure));
            break;
        }
        numCopied += numRead;
    }
    return numCopied;
}

void FileHandle::startSync(int64_t offset, int64_t numBytes)
{
    ::sync_file_range(mDescriptor, offset, numBytes, SYNC_FILE_RANGE_WRITE);
}

MaybeError FileHandle::sync()
{
    const bool isFlushed = uninterrupted([this] { return ::fsync(mDescriptor); }) == 0;
    // EINVAL: the file system has nothing to flush to.
    return isFlushed || errno == EINVAL ? std::nullopt : MaybeError(writeError(mPath, errno));
}

bool FileHandle::holdsOnlyZeros(int64_t offset, int64_t numBytes) const
{
    constexpr int64_t pieceLength = int64_t{1} << 16;
    for (int64_t done = 0; done < numBytes; done += pieceLength) {
        const QByteArray piece = readAt(offset + done, std::min(pieceLength, numBytes - done));
        if (std::any_of(piece.begin(), piece.end(), [](char byte) { return byte != 0; }))
            return false;
    }
    return true;
}

int64_t FileHandle::numBytesFree() const
{
    struct statvfs disk = {};
    // Some file systems know no size, and say 0 of all.
    if (::fstatvfs(mDescriptor, &disk) != 0 || disk.f_blocks == 0)
        return std::numeric_limits<int64_t>::max();
    constexpr __int128 largest = std::numeric_limits<int64_t>::max();
    return static_cast<int64_t>(std::min(static_cast<__int128>(disk.f_bavail) * disk.f_frsize, largest));
}

bool FileHandle::hasChangedOnDisk() const
{
    struct stat status = {};
    if (::fstat(mDescriptor, &status) != 0)
        return true;
    if (status.st_size != mOpened.st_size || !areEqual(status.st_mtim, mOpened.st_mtim))
        return true;
    if (areEqual(status.st_ctim, mOpened.st_ctim))
        return false;
    const bool hasOtherProperties = status.st_nlink != mOpened.st_nlink ||
                                    status.st_mode != mOpened.st_mode || status.st_uid != mOpened.st_uid ||
                                    status.st_gid != mOpened.st_gid;
    return !hasOtherProperties && isAt(mPath) && extendedAttributesDigest(mDescriptor) == mOpenedAttributes;
}

bool FileHandle::isAt(const std::filesystem::path& path) const
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && isSameFile(status, mOpened);
}

QString displayPath(const std::filesystem::path& path)
{
    return QString::fromUtf8(path.native().data(), static_cast<qsizetype>(path.native().size()));
}

QString displayName(const std::filesystem::path& path)
{
    if (path.has_filename())
        return displayPath(path.filename());
    const std::filesystem::path folder = path.parent_path();
    return displayPath(folder.has_filename() ? folder.filename() : path);
}

std::filesystem::path pathFromQString(const QString& path)
{
    return QFile::encodeName(path).toStdString();
}

} // namespace velloria
