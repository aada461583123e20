#include "platform/FileReplacer.h"

#include "ChildProcess.h"

#include <QTemporaryDir>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <thread>

namespace velloria
{

namespace
{

namespace fs = std::filesystem;

class FileReplacerTest : public testing::Test
{
protected:
    fs::path folder() const { return mFolder.path().toStdString(); }
    fs::path pathOf(const std::string& name) const { return folder() / name; }

    fs::path write(const std::string& name, const std::string& contents) const
    {
        std::ofstream(pathOf(name), std::ios::binary) << contents;
        return pathOf(name);
    }

    size_t numEntries() const
    {
        return static_cast<size_t>(std::distance(fs::directory_iterator(folder()), fs::directory_iterator()));
    }

    QTemporaryDir mFolder;
};

std::string contentsOf(const fs::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

struct stat statusOf(const fs::path& path)
{
    struct stat status = {};
    ::stat(path.c_str(), &status);
    return status;
}

std::string attributeOf(const fs::path& path, const char* name)
{
    char value[256];
    const ssize_t size = ::getxattr(path.c_str(), name, value, sizeof value);
    return size < 0 ? "none" : std::string(value, static_cast<size_t>(size));
}

/// Replaces the target; gives the error's text, empty for success.
std::string replace(const fs::path& target, const QByteArray& contents)
{
    MaybeError error;
    const auto replacer = FileReplacer::create(target, &error);
    if (replacer)
        error = replacer->handle()->writeAt(0, contents);
    if (!error)
        error = replacer->commit();
    return error ? error->message.toStdString() : std::string();
}

Error::Code failureOf(const fs::path& target)
{
    MaybeError error;
    const auto replacer = FileReplacer::create(target, &error);
    return error.value_or(Error{Error::Code::userCancelled, {}}).code;
}

/// An access control list as the kernel keeps it: version 2, then tag, permissions and id of each entry. This
/// one lets user 12345 read.
std::string accessList()
{
    struct Entry {
        uint16_t tag, permissions;
        uint32_t id;
    };
    constexpr uint32_t none = 0xFFFFFFFF;
    const Entry entries[] = {{1, 6, none}, {2, 4, 12345}, {4, 4, none}, {16, 4, none}, {32, 0, none}};
    const uint32_t version = 2;
    std::string list(reinterpret_cast<const char*>(&version), sizeof version);
    return list.append(reinterpret_cast<const char*>(entries), sizeof entries);
}

/// Which ways to a new file the system offers: all, none without a name, or nameless ones that cannot get
/// one.
enum class System { complete, withoutNamelessFiles, withoutLinks };

void become(System system)
{
    if (system == System::withoutNamelessFiles)
        test::refuseSystemCall(SYS_openat, 2, O_TMPFILE, EOPNOTSUPP);
    if (system == System::withoutLinks)
        test::refuseSystemCall(SYS_linkat, 0, 0, EPERM);
}

class FileReplacerOnSystem : public FileReplacerTest, public testing::WithParamInterface<System>
{
};

std::string nameOfSystem(const testing::TestParamInfo<System>& info)
{
    constexpr const char* names[] = {"Complete", "WithoutNamelessFiles", "WithoutLinks"};
    return names[static_cast<int>(info.param)];
}

INSTANTIATE_TEST_SUITE_P(, FileReplacerOnSystem,
                         testing::Values(System::complete, System::withoutNamelessFiles,
                                         System::withoutLinks),
                         nameOfSystem);

} // namespace

TEST_P(FileReplacerOnSystem, ReplacesOldAndNewFilesAndLeavesNothingElse)
{
    const fs::path old = write("old", "before");
    fs::permissions(old, fs::perms(0640));
    EXPECT_EQ(test::runInChild([&] {
                  become(GetParam());
                  ::umask(027);
                  return replace(old, "after").empty() && replace(pathOf("new"), "first").empty() ? 0 : 1;
              }),
              0);
    EXPECT_EQ(contentsOf(old), "after");
    EXPECT_EQ(contentsOf(pathOf("new")), "first");
    EXPECT_EQ(statusOf(old).st_mode & 07777, 0640u);
    EXPECT_EQ(statusOf(pathOf("new")).st_mode & 07777, 0640u);
    EXPECT_EQ(numEntries(), 2u);
}

TEST_P(FileReplacerOnSystem, WithoutCommitTheTargetStaysAndNothingElse)
{
    const fs::path target = write("song.wav", "before");
    EXPECT_EQ(test::runInChild([&] {
                  become(GetParam());
                  test::limitFileSize(1000);
                  const auto replacer = FileReplacer::create(target, nullptr);
                  const MaybeError error = replacer->handle()->writeAt(0, QByteArray(5000, 'x'));
                  return error && error->code == Error::Code::diskFull && contentsOf(target) == "before" ? 0
                                                                                                         : 1;
              }),
              0);
    EXPECT_EQ(contentsOf(target), "before");
    EXPECT_EQ(numEntries(), 1u);
}

TEST_P(FileReplacerOnSystem, AKilledProcessLeavesACompleteFile)
{
    constexpr int size = 100'000;
    const fs::path target = write("song.wav", std::string(size, 'a'));
    for (int i = 0; i < 15; ++i) {
        const pid_t child = test::startChild([&] {
            become(GetParam());
            for (char letter = 'a';; letter = letter == 'z' ? 'a' : static_cast<char>(letter + 1)) {
                if (!replace(target, QByteArray(size, letter)).empty())
                    return 1;
            }
        });
        std::this_thread::sleep_for(std::chrono::microseconds(3000 + 777 * i));
        ::kill(child, SIGKILL);
        ASSERT_EQ(test::waitForChild(child), 1000 + SIGKILL);
        const std::string contents = contentsOf(target);
        ASSERT_EQ(contents, std::string(size, contents.empty() ? '?' : contents[0]));
    }
    ASSERT_EQ(replace(target, "last"), "");
    EXPECT_EQ(numEntries(), 1u);
}

TEST_F(FileReplacerTest, LeavesATargetAloneThatAnotherProgramChangedMeanwhile)
{
    using Change = std::function<void(const fs::path&)>;
    const Change scribble = [](const fs::path& target) { std::ofstream(target, std::ios::app) << "others'"; };
    const Change replaceIt = [this](const fs::path& target) { fs::rename(write("new", "others'"), target); };
    for (const bool exists : {true, false})
        for (const Change& change : {scribble, replaceIt}) {
            const fs::path target = pathOf("song.wav");
            fs::remove(target);
            if (exists)
                write("song.wav", "before");
            const auto replacer = FileReplacer::create(target, nullptr);
            ASSERT_FALSE(replacer->handle()->writeAt(0, "ours"));
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            change(target);
            const MaybeError error = replacer->commit();
            ASSERT_TRUE(error);
            EXPECT_EQ(error->code, Error::Code::targetChanged);
            EXPECT_TRUE(contentsOf(target).ends_with("others'"));
        }
    EXPECT_EQ(numEntries(), 1u);
}

TEST_F(FileReplacerTest, TellsOfAFolderThatCannotBeFlushed)
{
    const fs::path target = write("song.wav", "before");
    EXPECT_EQ(test::runInChild([&] {
                  // The folder's descriptor gets a number whose bits no later one has.
                  constexpr unsigned highest = 127;
                  while (::dup(STDERR_FILENO) < static_cast<int>(highest) - 1)
                      continue;
                  test::refuseSystemCall(SYS_fsync, 0, highest, EIO);
                  const auto replacer = FileReplacer::create(target, nullptr);
                  if (!replacer || replacer->handle()->writeAt(0, "after") || replacer->commit())
                      return 1;
                  return replacer->warnings().size() == 1 && contentsOf(target) == "after" ? 0 : 2;
              }),
              0);
    EXPECT_EQ(numEntries(), 1u);
}

TEST_F(FileReplacerTest, TellsWhatTheSystemDoesNotLetANewFileKeep)
{
    const bool isRoot = ::geteuid() == 0;
    QStringList expected = {"the attribute user.rating (No space left on device)"};
    if (isRoot)
        expected.prepend("the owner or the group (Operation not permitted)");
    const QString sentence =
        "song.wav is saved, but the system did not let it keep " + expected.join(", ") + ".";
    // A copy is made where a nameless file gets no name: that is told once, too.
    for (const bool canLink : {true, false}) {
        const fs::path target = write("song.wav", "before");
        ASSERT_EQ(::setxattr(target.c_str(), "user.rating", "five", 4, 0), 0);
        ASSERT_EQ(::chown(target.c_str(), isRoot ? 1234 : ::geteuid(), isRoot ? 2345 : ::getegid()), 0);
        EXPECT_EQ(test::runInChild([&] {
                      test::refuseSystemCall(SYS_fsetxattr, 0, 0, ENOSPC);
                      test::refuseSystemCall(SYS_fchown, 0, 0, EPERM);
                      if (!canLink)
                          test::refuseSystemCall(SYS_linkat, 0, 0, EPERM);
                      const auto replacer = FileReplacer::create(target, nullptr);
                      if (!replacer || replacer->handle()->writeAt(0, "after") || replacer->commit())
                          return 1;
                      return replacer->warnings() == QStringList(sentence) ? 0 : 2;
                  }),
                  0)
            << canLink;
    }
}

TEST_F(FileReplacerTest, TheTargetIsUntouchedUntilCommit)
{
    const fs::path target = write("song.wav", "before");
    const auto replacer = FileReplacer::create(target, nullptr);
    ASSERT_FALSE(replacer->handle()->writeAt(0, "after"));
    ASSERT_FALSE(replacer->flush());
    EXPECT_EQ(contentsOf(target), "before");
    ASSERT_FALSE(replacer->commit());
    EXPECT_EQ(contentsOf(target), "after");
    EXPECT_EQ(replacer->handle()->readAt(0, 10), "after");
}

TEST_F(FileReplacerTest, AFileCanBeWrittenFromItsOwnOldContents)
{
    const fs::path target = write("song.wav", "0123456789");
    const auto old = FileHandle::openForReading(target);
    const auto replacer = FileReplacer::create(target, nullptr);
    EXPECT_EQ(replacer->handle()->copyFrom(*old, 5, 0, 5, nullptr), 5);
    EXPECT_EQ(replacer->handle()->copyFrom(*old, 0, 5, 5, nullptr), 5);
    ASSERT_FALSE(replacer->commit());
    EXPECT_EQ(contentsOf(target), "5678901234");
    EXPECT_EQ(old->readAt(0, 10), "0123456789");
}

TEST_F(FileReplacerTest, KeepsOwnerModeAttributesAndAccessList)
{
    const fs::path target = write("song.wav", "before");
    const bool isRoot = ::geteuid() == 0;
    ASSERT_EQ(::chown(target.c_str(), isRoot ? 1234 : ::geteuid(), isRoot ? 2345 : ::getegid()), 0);
    ASSERT_EQ(::setxattr(target.c_str(), "user.rating", "five", 4, 0), 0);
    ASSERT_EQ(::setxattr(target.c_str(), "user.empty", "", 0, 0), 0);
    const std::string list = accessList();
    ASSERT_EQ(::setxattr(target.c_str(), "system.posix_acl_access", list.data(), list.size(), 0), 0);
    const struct stat before = statusOf(target);

    ASSERT_EQ(replace(target, "after"), "");
    const struct stat after = statusOf(target);
    EXPECT_NE(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
    EXPECT_EQ(attributeOf(target, "user.rating"), "five");
    EXPECT_EQ(attributeOf(target, "user.empty"), "");
    EXPECT_EQ(attributeOf(target, "system.posix_acl_access"), list);
}

TEST_F(FileReplacerTest, TakesOverNoAccessListThatTheOldFileHasNot)
{
    const fs::path target = write("song.wav", "before");
    fs::permissions(target, fs::perms(0600));
    const std::string list = accessList();
    ASSERT_EQ(::setxattr(folder().c_str(), "system.posix_acl_default", list.data(), list.size(), 0), 0);
    ASSERT_EQ(replace(target, "after"), "");
    EXPECT_EQ(attributeOf(target, "system.posix_acl_access"), "none");
    EXPECT_EQ(statusOf(target).st_mode & 07777, 0600u);
}

TEST_F(FileReplacerTest, ShowsNobodyElseWhatIsNotYetInPlace)
{
    const fs::path target = write("song.wav", "before");
    fs::permissions(target, fs::perms(0644));
    const auto replacer = FileReplacer::create(target, nullptr);
    ASSERT_TRUE(replacer);
    struct stat status = {};
    ASSERT_EQ(::fstat(replacer->handle()->descriptor(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600u);
    ASSERT_FALSE(replacer->commit());
    EXPECT_EQ(statusOf(target).st_mode & 07777, 0644u);
}

TEST_F(FileReplacerTest, FollowsLinksToFilesThatAreThereOrNotYet)
{
    fs::create_directory(pathOf("sub"));
    write("sub/real", "before");
    fs::create_symlink("sub/second", pathOf("first"));
    fs::create_symlink("real", pathOf("sub/second"));
    fs::create_symlink(pathOf("sub/future"), pathOf("dangling"));
    fs::create_symlink("circle", pathOf("circle"));

    EXPECT_EQ(replace(pathOf("first"), "after"), "");
    EXPECT_EQ(replace(pathOf("dangling"), "made"), "");
    EXPECT_TRUE(fs::is_symlink(pathOf("first")) && fs::is_symlink(pathOf("sub/second")));
    EXPECT_TRUE(fs::is_symlink(pathOf("dangling")));
    EXPECT_EQ(contentsOf(pathOf("sub/real")), "after");
    EXPECT_EQ(contentsOf(pathOf("sub/future")), "made");
    EXPECT_NE(replace(pathOf("circle"), "x"), "");
}

TEST_F(FileReplacerTest, OtherHardLinksKeepTheOldContentsAndThatIsSaidBefore)
{
    const fs::path target = write("song.wav", "before");
    EXPECT_TRUE(FileReplacer::lossesWhenReplacing(target).isEmpty());
    EXPECT_TRUE(FileReplacer::lossesWhenReplacing(pathOf("missing")).isEmpty());
    fs::create_hard_link(target, pathOf("second"));
    EXPECT_EQ(FileReplacer::lossesWhenReplacing(target).join('\n'),
              QStringLiteral("song.wav has another name (hard link); it will keep the old contents."));
    fs::create_hard_link(target, pathOf("third"));
    EXPECT_EQ(FileReplacer::lossesWhenReplacing(target).join('\n'),
              QStringLiteral("song.wav has 2 other names (hard links); they will keep the old contents."));
    ASSERT_EQ(replace(target, "after"), "");
    EXPECT_EQ(contentsOf(pathOf("second")), "before");
}

TEST_F(FileReplacerTest, TakesTheLongestNamesAndNamesThatAreNoText)
{
    for (const std::string& name : {std::string(255, 'n'), std::string("caf\xE9\xFF.wav")}) {
        for (const char* contents : {"first", "second"}) {
            EXPECT_EQ(replace(pathOf(name), contents), "");
            EXPECT_EQ(contentsOf(pathOf(name)), contents);
        }
        // By hand, as QTemporaryDir cannot remove the second.
        fs::remove(pathOf(name));
    }
    EXPECT_NE(replace(pathOf(std::string(256, 'n')), "x"), "");
}

TEST_F(FileReplacerTest, RefusesWhatCannotBeReplacedBeforeAnythingIsWritten)
{
    fs::create_directory(pathOf("folder"));
    write("file", "x");
    ASSERT_EQ(::mkfifo(pathOf("fifo").c_str(), 0600), 0);
    const std::pair<fs::path, const char*> cases[] = {
        {pathOf("folder"), "folder is a folder."},
        {pathOf("folder/"), "folder is a folder."},
        {pathOf("fifo"), "fifo is not a regular file."},
        {"/dev/full", "full is not a regular file."},
        {pathOf("new/"), "new could not be saved: No such file or directory"},
        {pathOf("file/x"), "x could not be saved: Not a directory"},
    };
    for (const auto& [target, message] : cases)
        EXPECT_EQ(replace(target, "x"), message);
    EXPECT_EQ(replace(pathOf("missing/x"), "x"),
              "The folder " + pathOf("missing").native() + " cannot be written: No such file or directory");
}

TEST_F(FileReplacerTest, RespectsWhatTheUserMayNotWrite)
{
    write("locked", "x");
    fs::permissions(pathOf("locked"), fs::perms(0444));
    fs::create_directory(pathOf("closed"));
    write("closed/open", "x");
    fs::permissions(pathOf("closed/open"), fs::perms(0666));
    fs::permissions(pathOf("closed"), fs::perms(0555));
    const auto statusInChild = [&](const std::function<bool()>& isRight) {
        return test::runInChild([&] {
            test::dropPrivilegesIn(folder());
            return isRight() ? 0 : 1;
        });
    };
    constexpr auto noPermission = Error::Code::noPermission;
    EXPECT_EQ(statusInChild([] { return failureOf("locked") == noPermission; }), 0);
    EXPECT_EQ(statusInChild([] { return failureOf("closed/open") == noPermission; }), 0);
    EXPECT_EQ(statusInChild([] { return failureOf("closed/new") == noPermission; }), 0);
    EXPECT_EQ(statusInChild([] { return replace("new", "x").empty() && contentsOf("new") == "x"; }), 0);
    EXPECT_EQ(statusInChild([] { return FileReplacer::lossesWhenReplacing("/etc/passwd").size() == 2; }), 0);
    fs::permissions(pathOf("closed"), fs::perms(0755));
}

TEST_F(FileReplacerTest, RemovesOnlyTemporariesThatNobodyUses)
{
    const fs::path used = write(".velloria-save-1", "used");
    const fs::path stale = write(".velloria-save-2", "stale");
    const fs::path other = write(".velloria-other", "other");
    const int user = ::open(used.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(user, LOCK_EX), 0);
    ASSERT_EQ(replace(pathOf("song.wav"), "x"), "");
    EXPECT_TRUE(fs::exists(used));
    EXPECT_FALSE(fs::exists(stale));
    EXPECT_TRUE(fs::exists(other));
    ::close(user);
}

} // namespace velloria
