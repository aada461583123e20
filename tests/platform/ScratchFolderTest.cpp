#include "platform/ScratchFolder.h"

#include "ChildProcess.h"
#include "platform/DispatchQueue.h"
#include "platform/Log.h"
#include "platform/ScratchNote.h"

#include <QTemporaryDir>
#include <csignal>
#include <ctime>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>

namespace velloria
{

namespace
{

namespace fs = std::filesystem;

/// Each test has a temporary directory of its own.
class ScratchFolderTest : public testing::Test
{
protected:
    void SetUp() override { setTemporaryDirectory(root()); }
    void TearDown() override { setTemporaryDirectory(mFormer); }

    static void setTemporaryDirectory(const fs::path& path)
    {
        qputenv("TMPDIR", QByteArray::fromStdString(path.native()));
    }

    fs::path root() const { return mRoot.path().toStdString(); }
    fs::path pathOf(const std::string& name) const { return root() / "Velloria_Temp" / name; }

    QTemporaryDir mRoot;
    fs::path mFormer = qgetenv("TMPDIR").toStdString();
};

using Handles = std::vector<std::shared_ptr<FileHandle>>;

std::string nameOf(const std::shared_ptr<FileHandle>& handle)
{
    return handle ? handle->path().filename().string() : "none";
}

mode_t modeOf(const fs::path& path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

bool isStillNamed(const FileHandle& handle)
{
    struct stat open = {};
    struct stat named = {};
    return ::fstat(handle.descriptor(), &open) == 0 && ::stat(handle.path().c_str(), &named) == 0 &&
           open.st_ino == named.st_ino;
}

/// Makes and removes files, several at a time. 0 when each stayed in place as long as it was used.
int makeAndRemoveFiles(int numFiles)
{
    Handles handles;
    for (int i = 0; i < numFiles; ++i) {
        handles.push_back(ScratchFolder::createFile(nullptr));
        if (!handles.back() || handles.back()->writeAt(0, "samples"))
            return 1;
        if (handles.size() < 4)
            continue;
        if (!isStillNamed(*handles.front()))
            return 2;
        ScratchFolder::removeFile(handles.front()->path());
        handles.erase(handles.begin());
    }
    return 0;
}

} // namespace

TEST_F(ScratchFolderTest, FilesTakeTheFirstFreeNumber)
{
    fs::create_directories(pathOf(""));
    std::ofstream(pathOf("Velloria_Temp-002.caf")) << "of an earlier run";
    fs::create_directory(pathOf("Velloria_Temp-004.caf"));
    Handles handles;
    for (const char* name : {"Velloria_Temp-001.caf", "Velloria_Temp-003.caf", "Velloria_Temp-005.caf"}) {
        handles.push_back(ScratchFolder::createFile(nullptr));
        EXPECT_EQ(nameOf(handles.back()), name);
    }
    ScratchFolder::removeFile(handles[1]->path());
    EXPECT_EQ(nameOf(ScratchFolder::createFile(nullptr)), "Velloria_Temp-003.caf");
    // The handle above is gone, its file is not.
    EXPECT_EQ(nameOf(ScratchFolder::createFile(nullptr)), "Velloria_Temp-006.caf");
}

TEST_F(ScratchFolderTest, ThousandsOfFilesStayOpenAndKeepTheirNumbers)
{
    rlimit limit = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = 500;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    Handles handles;
    for (int i = 0; i < 2500; ++i)
        handles.push_back(ScratchFolder::createFile(nullptr));
    EXPECT_EQ(nameOf(handles[998]), "Velloria_Temp-999.caf");
    EXPECT_EQ(nameOf(handles[2499]), "Velloria_Temp-2500.caf");
}

TEST_F(ScratchFolderTest, WhatThousandsOfFilesOfOthersTakeIsAskedForOnce)
{
    constexpr int numOthers = 2000;
    const auto timeFor300Files = [](const std::string& name) {
        const std::clock_t start = std::clock();
        for (int i = 0; i < 300; ++i) {
            const std::shared_ptr<FileHandle> handle = ScratchFolder::createFile(nullptr);
            EXPECT_EQ(nameOf(handle), name);
            ScratchFolder::removeFile(handle->path());
        }
        return std::clock() - start;
    };
    const std::clock_t timeAlone = timeFor300Files("Velloria_Temp-001.caf");
    for (int i = 1; i <= numOthers; ++i)
        std::ofstream(
            pathOf(QStringLiteral("Velloria_Temp-%1.caf").arg(i, 3, 10, QChar(u'0')).toStdString()));
    // Asking for each of them each time would take a hundred times as long.
    EXPECT_LT(timeFor300Files("Velloria_Temp-2001.caf"), 15 * timeAlone);
    EXPECT_FALSE(ScratchFolder::removeLeftOver(pathOf("Velloria_Temp-007.caf")));
    EXPECT_EQ(nameOf(ScratchFolder::createFile(nullptr)), "Velloria_Temp-007.caf") << "it is free again";
}

TEST_F(ScratchFolderTest, ThreadsGetFilesOfTheirOwn)
{
    Handles handles(200);
    runConcurrently(200,
                    [&](int i) { handles[static_cast<size_t>(i)] = ScratchFolder::createFile(nullptr); });
    std::set<std::string> names;
    for (const auto& handle : handles)
        names.insert(nameOf(handle));
    EXPECT_EQ(names.size(), 200u);
    EXPECT_TRUE(names.contains("Velloria_Temp-200.caf"));
}

TEST_F(ScratchFolderTest, TheFolderIsMadePrivateWithItsParents)
{
    setTemporaryDirectory(root() / "not" / "yet");
    MaybeError error;
    const auto handle = ScratchFolder::createFile(&error);
    ASSERT_TRUE(handle) << error->message.toStdString();
    EXPECT_EQ(handle->path().parent_path(), root() / "not" / "yet" / "Velloria_Temp");
    EXPECT_EQ(modeOf(ScratchFolder::path()), 0700u);
    EXPECT_EQ(modeOf(handle->path()), 0600u);

    fs::permissions(ScratchFolder::path(), fs::perms(0755));
    ScratchFolder::createFile(nullptr);
    EXPECT_EQ(modeOf(ScratchFolder::path()), 0700u);
}

TEST_F(ScratchFolderTest, AFileInItsPlaceGivesWay)
{
    std::ofstream(root() / "Velloria_Temp") << "in the way";
    EXPECT_EQ(nameOf(ScratchFolder::createFile(nullptr)), "Velloria_Temp-001.caf");
    EXPECT_TRUE(fs::is_directory(root() / "Velloria_Temp"));
}

TEST_F(ScratchFolderTest, AnothersFolderIsLeftAlone)
{
    const fs::path ownName = root() / ("Velloria_Temp-" + std::to_string(::geteuid()));
    fs::create_directory(root() / "trap");
    fs::create_symlink("trap", root() / "Velloria_Temp");
    const auto handle = ScratchFolder::createFile(nullptr);
    ASSERT_TRUE(handle);
    EXPECT_EQ(handle->path().parent_path(), ownName);
    EXPECT_TRUE(fs::is_empty(root() / "trap"));

    fs::remove(root() / "Velloria_Temp");
    fs::create_directory(root() / "Velloria_Temp");
    const bool isGivenAway = ::chown((root() / "Velloria_Temp").c_str(), 1234, 1234) == 0;
    EXPECT_EQ(ScratchFolder::path(), isGivenAway ? ownName : root() / "Velloria_Temp");
}

TEST_F(ScratchFolderTest, AFolderThatCannotBeMadeIsAnError)
{
    std::ofstream(root() / "file") << "no folder";
    setTemporaryDirectory(root() / "file");
    MaybeError error;
    EXPECT_EQ(ScratchFolder::createFile(&error), nullptr);
    ASSERT_TRUE(error);
    EXPECT_TRUE(error->message.contains(QStringLiteral("Velloria_Temp"))) << error->message.toStdString();
    EXPECT_TRUE(ScratchFolder::leftOvers().empty());
}

TEST_F(ScratchFolderTest, OnlyFilesOfEndedProcessesAreLeftOvers)
{
    auto own = ScratchFolder::createFile(nullptr);
    const int status = test::runInChild([] {
        // The copies of the parent's handles are not the child's to close; a crash closes nothing either.
        const auto handle = ScratchFolder::createFile(nullptr);
        return ::kill(::getpid(), SIGKILL);
    });
    EXPECT_EQ(status, 1000 + SIGKILL);
    std::ofstream(pathOf("another name")) << "not ours";
    fs::create_directory(pathOf("Velloria folder"));
    EXPECT_EQ(ScratchFolder::leftOvers(), std::vector{pathOf("Velloria_Temp-002.caf")});

    ScratchFolder::removeLeftOversUpTo(INT64_MAX);
    EXPECT_FALSE(fs::exists(pathOf("Velloria_Temp-002.caf")));
    EXPECT_TRUE(fs::exists(own->path()));
    EXPECT_TRUE(fs::exists(pathOf("another name")));

    fs::remove(pathOf("another name"));
    fs::remove(pathOf("Velloria folder"));
    own = nullptr;
    ScratchFolder::removeLeftOversUpTo(INT64_MAX);
    EXPECT_FALSE(fs::exists(root() / "Velloria_Temp"));
}

TEST_F(ScratchFolderTest, SeveralProcessesShareItWhileOthersCleanUp)
{
    const auto makeFiles = [] { return makeAndRemoveFiles(600); };
    const pid_t makers[] = {test::startChild(makeFiles), test::startChild(makeFiles)};
    const pid_t cleaner = test::startChild([]() -> int {
        for (;;)
            ScratchFolder::removeLeftOversUpTo(INT64_MAX);
    });
    for (const pid_t maker : makers)
        EXPECT_EQ(test::waitForChild(maker), 0);
    ::kill(cleaner, SIGKILL);
    test::waitForChild(cleaner);
    ScratchFolder::removeLeftOversUpTo(INT64_MAX);
    EXPECT_FALSE(fs::exists(root() / "Velloria_Temp"));
}

TEST_F(ScratchFolderTest, AFailedRemovalIsLogged)
{
    LogCapture log;
    const std::string name(300, 'x');
    ScratchFolder::removeFile("/" + name);
    ScratchFolder::removeFile(root() / "missing");
    ScratchFolder::removeFile(root());
    EXPECT_EQ(log.logged(), QStringList("Could not delete temp file: /" + QString::fromStdString(name)));
    EXPECT_TRUE(fs::exists(root()));
}

TEST_F(ScratchFolderTest, ANoteIsPrivateAndGoesWithItsFile)
{
    auto handle = ScratchFolder::createFile(nullptr);
    const fs::path file = handle->path();
    const fs::path note = ScratchNote::pathFor(file);
    EXPECT_EQ(ScratchFolder::note(file), "");
    // What lies in its place is replaced, not written through.
    std::ofstream(root() / "victim") << "untouched";
    fs::create_symlink(root() / "victim", note);
    EXPECT_EQ(ScratchFolder::note(file), "");
    ScratchFolder::setNote(file, "a take");
    EXPECT_EQ(ScratchFolder::note(file), "a take");
    EXPECT_EQ(modeOf(note), 0600U);
    EXPECT_EQ(fs::file_size(root() / "victim"), 9U);
    handle.reset();
    EXPECT_EQ(ScratchFolder::leftOvers(), std::vector{file}) << "a note by itself is no left-over";
    ScratchFolder::removeFile(file);
    EXPECT_TRUE(fs::is_empty(pathOf("")));
}

TEST_F(ScratchFolderTest, NoFileGetsTheNoteOfAnother)
{
    fs::create_directories(pathOf(""));
    const fs::path orphan = ScratchNote::pathFor(pathOf("Velloria_Temp-001.caf"));
    std::ofstream(orphan) << "of a file that is gone";
    {
        const auto handle = ScratchFolder::createFile(nullptr);
        EXPECT_EQ(handle->path(), pathOf("Velloria_Temp-001.caf"));
        EXPECT_EQ(ScratchFolder::note(handle->path()), "");
        ScratchFolder::removeFile(handle->path());
    }
    std::ofstream(orphan) << "of a file that is gone";
    const auto other = ScratchFolder::createFile(nullptr);
    ScratchFolder::setNote(other->path(), "kept");
    std::ofstream(ScratchNote::pathFor(pathOf("Velloria_Temp-007.caf"))) << "of a file that is gone";
    ScratchFolder::removeLeftOversUpTo(0);
    EXPECT_EQ(ScratchFolder::note(other->path()), "kept") << "its file is in use";
    EXPECT_FALSE(fs::exists(ScratchNote::pathFor(pathOf("Velloria_Temp-007.caf"))));
}

TEST_F(ScratchFolderTest, AFullDiskLeavesNoHalfNote)
{
    const auto handle = ScratchFolder::createFile(nullptr);
    const int status = test::runInChild([&handle] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {100, 100};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        ScratchFolder::setNote(handle->path(), QByteArray(300, 'x'));
        return 0;
    });
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(fs::exists(ScratchNote::pathFor(handle->path())));
    // Nor is one taken for a note that cannot be one.
    ScratchFolder::setNote(handle->path(), QByteArray(1 << 20, 'x'));
    EXPECT_EQ(ScratchFolder::note(handle->path()), "");
}

TEST_F(ScratchFolderTest, ALeftOverIsTakenOverByOneAtATime)
{
    const fs::path file = ScratchFolder::createFile(nullptr)->path();
    ScratchFolder::setNote(file, "a take");
    MaybeError error;
    auto taken = ScratchFolder::takeOver(file, &error);
    ASSERT_TRUE(taken);
    EXPECT_FALSE(ScratchFolder::takeOver(file, &error));
    EXPECT_TRUE(error);
    EXPECT_TRUE(ScratchFolder::removeLeftOver(file));
    ScratchFolder::removeLeftOversUpTo(INT64_MAX);
    taken.reset();
    EXPECT_EQ(ScratchFolder::note(file), "a take") << "nobody answered";
    taken = ScratchFolder::takeOver(file, &error);
    taken->removeWhenUnused();
    EXPECT_TRUE(fs::exists(file)) << "it is still in use";
    taken.reset();
    EXPECT_TRUE(fs::is_empty(pathOf("")));
}

TEST_F(ScratchFolderTest, WhatHoldsMoreThanAHeaderIsNotCleanedAway)
{
    fs::create_directories(pathOf(""));
    std::ofstream(pathOf("Velloria_Temp-001.caf")) << std::string(68, 'x');
    std::ofstream(pathOf("Velloria_Temp-002.caf")) << std::string(69, 'x');
    ScratchFolder::removeLeftOversUpTo(68);
    EXPECT_EQ(ScratchFolder::leftOvers(), std::vector{pathOf("Velloria_Temp-002.caf")});
}

TEST_F(ScratchFolderTest, AFolderThatCannotBeWrittenKeepsItsFiles)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "nothing is closed to this user";
    const fs::path file = ScratchFolder::createFile(nullptr)->path();
    ScratchFolder::setNote(file, "a take");
    fs::permissions(pathOf(""), fs::perms(0500));
    EXPECT_TRUE(ScratchFolder::removeLeftOver(file));
    EXPECT_EQ(ScratchFolder::note(file), "a take");
    fs::permissions(pathOf(""), fs::perms(0700));
    EXPECT_FALSE(ScratchFolder::removeLeftOver(file));
}

} // namespace velloria
