#include "Classes/CoreAudio/RealtimeTrap.h"

#include <QTemporaryFile>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <mutex>
#include <sys/mman.h>
#include <sys/uio.h>
#include <thread>
#include <unistd.h>

namespace RealtimeTrap = velloria::kit::RealtimeTrap;

namespace
{

struct Deed {
    const char* name;
    std::function<void(int descriptor)> body;
};

int numCaught(const Deed& deed, int descriptor)
{
    const int before = RealtimeTrap::numViolations();
    RealtimeTrap::enter();
    deed.body(descriptor);
    RealtimeTrap::leave();
    return RealtimeTrap::numViolations() - before;
}

} // namespace

TEST(RealtimeTrapTest, CatchesEveryKindOfFileCallOnEveryThread)
{
    if (!RealtimeTrap::canTrap() || !RealtimeTrap::seesSystemCalls())
        GTEST_SKIP() << "this machine does not let it";
    QTemporaryFile file;
    ASSERT_TRUE(file.open() && file.write(QByteArray(8192, 'x')) == 8192 && file.flush());
    char bytes[16] = {};
    iovec piece = {bytes, sizeof bytes};
    std::FILE* const null = std::fopen("/dev/null", "w");
    std::setvbuf(null, nullptr, _IONBF, 0);
    const Deed deeds[] = {
        {"read", [&](int d) { EXPECT_EQ(::read(d, bytes, 4), 4); }},
        {"pread", [&](int d) { EXPECT_EQ(::pread(d, bytes, 16, 8), 16); }},
        {"pwrite", [&](int d) { EXPECT_EQ(::pwrite(d, bytes, 16, 8), 16); }},
        {"writev", [&](int d) { EXPECT_EQ(::writev(d, &piece, 1), 16); }},
        {"mmap",
         [](int d) {
             void* const map = ::mmap(nullptr, 4096, PROT_READ, MAP_SHARED, d, 0);
             EXPECT_NE(map, MAP_FAILED);
             ::munmap(map, 4096);
         }},
        {"open", [](int) { ::close(::open("/dev/null", O_RDONLY)); }},
        {"fsync", [](int d) { EXPECT_EQ(::fsync(d), 0); }},
        {"fputs", [null](int) { EXPECT_GE(std::fputs("from inside a library", null), 0); }},
        {"sleep", [](int) { std::this_thread::sleep_for(std::chrono::microseconds(1)); }},
    };
    const int descriptor = file.handle();
    ASSERT_EQ(::lseek(descriptor, 0, SEEK_SET), 0);
    for (const Deed& deed : deeds) {
        EXPECT_EQ(numCaught(deed, descriptor), 1) << deed.name;
        int numOnThread = 0;
        std::thread([&] { numOnThread = numCaught(deed, descriptor); }).join();
        EXPECT_EQ(numOnThread, 1) << deed.name << " on another thread";
    }
    EXPECT_EQ(numCaught({"clock", [](int) { std::chrono::steady_clock::now(); }}, descriptor), 0);
    const int before = RealtimeTrap::numViolations();
    EXPECT_EQ(::pread(descriptor, bytes, 1, 0), 1);
    EXPECT_EQ(RealtimeTrap::numViolations(), before) << "the trap is not set any more";
    std::fclose(null);
}
