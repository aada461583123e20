#include "platform/FileHandle.h"

#include "ChildProcess.h"
#include "platform/DispatchQueue.h"

#include <QTemporaryDir>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/xattr.h>
#include <thread>

namespace velloria
{

namespace
{

namespace fs = std::filesystem;

class FileHandleTest : public testing::Test
{
protected:
    fs::path pathOf(const std::string& name) const { return fs::path(mFolder.path().toStdString()) / name; }

    fs::path write(const std::string& name, const QByteArray& contents) const
    {
        std::ofstream(pathOf(name), std::ios::binary) << contents.toStdString();
        return pathOf(name);
    }

    /// A new file, open for reading and writing.
    std::shared_ptr<FileHandle> create(const std::string& name) const
    {
        const fs::path path = pathOf(name);
        return FileHandle::adopt(::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666), path);
    }

    QTemporaryDir mFolder;
};

QByteArray noise(int size)
{
    QByteArray bytes(size, '\0');
    unsigned state = 1;
    for (char& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

} // namespace

TEST_F(FileHandleTest, OpensNothingButRegularFilesAndNeverBlocks)
{
    fs::create_directory(pathOf("folder"));
    ASSERT_EQ(::mkfifo(pathOf("fifo").c_str(), 0600), 0);
    ::sockaddr_un address = {AF_UNIX, {}};
    pathOf("socket").native().copy(address.sun_path, sizeof address.sun_path - 1);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);

    const std::pair<fs::path, const char*> cases[] = {
        {pathOf("folder"), "folder is a folder."},
        {pathOf("folder") / "", "folder is a folder."},
        {pathOf("fifo"), "fifo is not a regular file."},
        {pathOf("socket"), "socket is not a regular file."},
        {"/dev/zero", "zero is not a regular file."},
        {pathOf("missing"), "missing could not be opened: No such file or directory"},
    };
    for (const auto& [path, message] : cases) {
        MaybeError error;
        EXPECT_EQ(FileHandle::openForReading(path, &error), nullptr);
        ASSERT_TRUE(error) << path;
        EXPECT_EQ(error->message.toStdString(), message);
    }
    EXPECT_EQ(FileHandle::openForReading(pathOf("missing")), nullptr);
    ::close(socket);
}

TEST_F(FileHandleTest, AForbiddenFileIsAMatterOfPermission)
{
    const fs::path path = write("secret", "abc");
    fs::permissions(path, fs::perms::none);
    EXPECT_EQ(test::runInChild([&] {
                  test::dropPrivilegesIn(mFolder.path().toStdString());
                  MaybeError error;
                  FileHandle::openForReading("secret", &error);
                  return error && error->code == Error::Code::noPermission ? 0 : 1;
              }),
              0);
}

TEST_F(FileHandleTest, ReadsWhatThereIsAndNoMore)
{
    const auto handle = FileHandle::openForReading(write("ten", "0123456789"));
    ASSERT_TRUE(handle);
    EXPECT_EQ(handle->length(), 10);
    EXPECT_EQ(handle->readAt(2, 3), "234");
    EXPECT_EQ(handle->readAt(8, 100), "89");
    EXPECT_EQ(handle->readAt(1, std::numeric_limits<int64_t>::max()), "123456789");
    for (const int64_t offset : {int64_t{10}, std::numeric_limits<int64_t>::max(), int64_t{-1}})
        EXPECT_TRUE(handle->readAt(offset, 5).isEmpty()) << offset;
    EXPECT_TRUE(handle->readAt(0, -5).isEmpty());

    std::array<std::byte, 8> out = {};
    EXPECT_EQ(handle->readAt(7, out), 3);
    EXPECT_EQ(handle->readAt(-1, out), 0);
}

TEST_F(FileHandleTest, TakesNamesThatAreNoText)
{
    const std::string name = "caf\xE9 \xFF.wav";
    const auto handle = FileHandle::openForReading(write(name, "abc"));
    ASSERT_TRUE(handle);
    EXPECT_EQ(handle->readAt(0, 3), "abc");
    // By hand, as QTemporaryDir cannot.
    fs::remove(handle->path());
    EXPECT_EQ(displayName(handle->path()), QStringLiteral("caf\uFFFD \uFFFD.wav"));
    EXPECT_EQ(pathFromQString(QStringLiteral("/tmp/\u00FCber")), fs::path("/tmp/\xC3\xBC"
                                                                          "ber"));
    EXPECT_EQ(displayName("/music/"), QStringLiteral("music"));
    EXPECT_EQ(displayName("/"), QStringLiteral("/"));
}

TEST_F(FileHandleTest, WritesFromSeveralThreadsDoNotDisturbEachOther)
{
    const auto handle = create("blocks");
    constexpr int blockSize = 5000;
    runConcurrently(64, [&](int i) {
        EXPECT_FALSE(handle->writeAt(i * blockSize, QByteArray(blockSize, static_cast<char>(i))));
        EXPECT_EQ(handle->readAt(i * blockSize, blockSize), QByteArray(blockSize, static_cast<char>(i)));
    });
    EXPECT_EQ(handle->length(), 64 * blockSize);
    EXPECT_FALSE(handle->sync());
}

TEST_F(FileHandleTest, AFullDiskIsAnErrorThatNamesTheFile)
{
    const auto full = FileHandle::adopt(::open("/dev/full", O_RDWR | O_CLOEXEC), "/music/song.wav");
    const MaybeError error = full->writeAt(0, "abc");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, Error::Code::diskFull);
    EXPECT_EQ(error->message, QStringLiteral("The disk is full: song.wav could not be written."));

    const auto source = FileHandle::openForReading(write("source", noise(300'000)));
    MaybeError copyError;
    EXPECT_EQ(full->copyFrom(*source, 0, 0, 300'000, &copyError), 0);
    ASSERT_TRUE(copyError);
    EXPECT_EQ(copyError->code, Error::Code::diskFull);
}

TEST_F(FileHandleTest, ASizeLimitIsAnErrorAndNotTheEndOfTheProcess)
{
    const auto source = FileHandle::openForReading(write("source", noise(300'000)));
    const auto target = create("target");
    EXPECT_EQ(test::runInChild([&] {
                  test::limitFileSize(100'000);
                  MaybeError error;
                  const int64_t numCopied = target->copyFrom(*source, 0, 0, 300'000, &error);
                  if (numCopied > 100'000 || !error || error->code != Error::Code::diskFull)
                      return 1;
                  error = target->writeAt(90'000, QByteArray(20'000, 'x'));
                  return error && error->code == Error::Code::diskFull ? 0 : 2;
              }),
              0);
    EXPECT_EQ(target->length(), 100'000);
}

TEST_F(FileHandleTest, AFileOpenForReadingOnlyRefusesWrites)
{
    const auto handle = FileHandle::openForReading(write("source", "abc"));
    const MaybeError error = handle->writeAt(0, "x");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, Error::Code::writeFailed);
}

TEST_F(FileHandleTest, CopiesRunsWhereverTheSourceIs)
{
    const QByteArray bytes = noise(3'500'001);
    const auto memory = FileHandle::adopt(::memfd_create("source", MFD_CLOEXEC), "memory");
    ASSERT_FALSE(memory->writeAt(0, bytes));
    const auto onDisk = FileHandle::openForReading(write("source", bytes));
    const auto virtualFile = FileHandle::openForReading("/proc/version");
    const auto target = create("target");

    for (const auto& source : {memory, onDisk}) {
        MaybeError error;
        EXPECT_EQ(target->copyFrom(*source, 17, 5, 3'400'000, &error), 3'400'000);
        EXPECT_EQ(target->readAt(5, 3'400'000), bytes.mid(17, 3'400'000));
        EXPECT_EQ(target->copyFrom(*source, 3'500'000, 0, 1000, &error), 1);
        EXPECT_EQ(target->copyFrom(*source, 9'000'000, 0, 1000, &error), 0);
        EXPECT_FALSE(error);
        ASSERT_EQ(::ftruncate(target->descriptor(), 0), 0);
    }
    // Its size is 0 to the system, although there is something to read.
    EXPECT_EQ(target->copyFrom(*virtualFile, 0, 0, 20, nullptr), 20);
    EXPECT_TRUE(target->readAt(0, 20).startsWith("Linux version"));
}

TEST_F(FileHandleTest, CopiesWhereTheKernelCannot)
{
    const QByteArray bytes = noise(2'500'000);
    const auto source = FileHandle::openForReading(write("source", bytes));
    const auto target = create("target");
    EXPECT_EQ(test::runInChild([&] {
                  test::refuseSystemCall(SYS_copy_file_range, 0, 0, ENOSYS);
                  return target->copyFrom(*source, 1, 0, 2'499'999, nullptr) == 2'499'999 ? 0 : 1;
              }),
              0);
    EXPECT_EQ(target->readAt(0, target->length()), bytes.mid(1));
}

TEST_F(FileHandleTest, NoticesChangesInPlaceAndKeepsAFileThatWasReplaced)
{
    const fs::path path = write("song", "old contents");
    const auto handle = FileHandle::openForReading(path);
    EXPECT_FALSE(handle->hasChangedOnDisk());

    fs::rename(write("new", "new"), path);
    EXPECT_FALSE(handle->hasChangedOnDisk());
    EXPECT_EQ(handle->readAt(0, 100), "old contents");

    const auto grown = FileHandle::openForReading(path);
    std::ofstream(path, std::ios::app) << "er";
    EXPECT_TRUE(grown->hasChangedOnDisk());

    const auto touched = FileHandle::openForReading(path);
    fs::last_write_time(path, fs::last_write_time(path) + std::chrono::microseconds(1));
    EXPECT_TRUE(touched->hasChangedOnDisk());
}

TEST_F(FileHandleTest, NoticesAChangeWhoseTimeWasPutBackAndNoOtherOne)
{
    const fs::path path = write("song", "old contents");
    struct Case {
        const char* name;
        std::function<void()> change;
        bool isOfContents;
    };
    const Case cases[] = {
        {"scribbled, its time put back",
         [&] {
             const auto time = fs::last_write_time(path);
             std::fstream(path, std::ios::in | std::ios::out) << "new";
             fs::last_write_time(path, time);
         },
         true},
        {"mode",
         [&] {
             fs::permissions(path, fs::perms::owner_read, fs::perm_options::add);
             fs::permissions(path, fs::perms::others_all, fs::perm_options::add);
         },
         false},
        {"another name", [&] { fs::create_hard_link(path, path.parent_path() / "link"); }, false},
        {"moved", [&] { fs::rename(path, path.parent_path() / "moved"); }, false},
        {"removed",
         [&] {
             fs::remove(path.parent_path() / "moved");
             fs::remove(path.parent_path() / "link");
         },
         false},
    };
    auto handle = FileHandle::openForReading(path);
    for (const Case& change : cases) {
        if (fs::exists(path))
            handle = FileHandle::openForReading(path);
        // The clock of file times has moved on by then.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        change.change();
        EXPECT_EQ(handle->hasChangedOnDisk(), change.isOfContents) << change.name;
    }
}

TEST_F(FileHandleTest, ARatingThatAFileManagerWritesIsNoChange)
{
    const fs::path path = write("song", "contents");
    for (const char* value : {"4", "5"}) {
        const auto handle = FileHandle::openForReading(path);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        if (::setxattr(path.c_str(), "user.rating", value, 1, 0) != 0)
            GTEST_SKIP() << "no extended attributes here";
        EXPECT_FALSE(handle->hasChangedOnDisk()) << value;
    }
}

TEST_F(FileHandleTest, NoticesAChangeThatFollowsTheLastOneAtOnce)
{
    // Without a look at the clock about one in three would go unnoticed.
    for (int i = 0; i < 20; ++i) {
        const fs::path path = write("song", "old");
        const auto handle = FileHandle::openForReading(path);
        std::fstream(path, std::ios::in | std::ios::out) << "new";
        ASSERT_TRUE(handle->hasChangedOnDisk()) << i;
    }
}

} // namespace velloria
