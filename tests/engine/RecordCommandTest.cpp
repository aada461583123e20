#include "cli/CliKit.h"
#include "document/LeftOverSounds.h"
#include "engine/Capture.h"
#include "engine/ServerKinds.h"
#include "platform/ScratchFolder.h"

#include <QProcess>
#include <deque>
#include <sys/resource.h>

using namespace velloria;

namespace
{

constexpr int kPeriod = 1 << 20;

/// Plays an endless sawtooth into a sink: frame i holds (i mod 2^20 + 1) / 2^21 and its negative, so that
/// each frame tells its place, none is silent, and each fits 24 bits.
class Sawtooth : public OutputClient
{
public:
    explicit Sawtooth(const QString& sinkName, bool isSilent = false)
        : mIsSilent(isSilent)
    {
        const HardwareState state = mHardware.state();
        if (const HardwareDevice* const sink = state.deviceWithUID(sinkName))
            mStream = mHardware.openOutput({sink->id, QStringLiteral("Test"), {}}, *this, nullptr);
        mIsRunning = mStream && !mStream->start();
    }
    ~Sawtooth() override { mStream.reset(); }

    int32_t render(float* left, float* right, uint32_t numFrames) noexcept override
    {
        for (uint32_t i = 0; i < numFrames; ++i, ++mNext) {
            left[i] = mIsSilent ? 0.0F : static_cast<float>(mNext % kPeriod + 1) / (2.0F * kPeriod);
            right[i] = -left[i];
        }
        return 0;
    }
    bool isRunning() const { return mIsRunning; }
    void setSilent(bool isSilent) { mIsSilent = isSilent; }
    uint64_t numGaps() const { return mStream->numUnderruns(); }

private:
    PulseHardware mHardware;
    std::unique_ptr<OutputStream> mStream;
    int64_t mNext = 0;
    std::atomic<bool> mIsSilent;
    bool mIsRunning = false;
};

/// The program velloria-cli, recording from the monitor of a null sink of the test's own server.
class RecordCommandTest : public kit::WithServer<test::CliTest>
{
protected:
    std::unique_ptr<QProcess> start(const QStringList& arguments) const
    {
        auto process = std::make_unique<QProcess>();
        process->setWorkingDirectory(QString::fromStdString(path("").native()));
        process->start(QString::fromStdString(program()), QStringList{QStringLiteral("record")} + arguments);
        return process;
    }

    static bool waitForEnd(const QProcess& process)
    {
        return kit::waitUntil([&] { return process.state() == QProcess::NotRunning; });
    }

    /// Frames that follow one another in the sawtooth, up to the end of its period. PipeWire hands a new
    /// stream a block of silence before it hears its source.
    static bool isSawtooth(const std::vector<float>& sound, int numChannels)
    {
        const auto step = static_cast<size_t>(numChannels);
        const size_t maxSilence = GetParam() == kit::ServerKind::pipeWire ? 4096 * step : 0;
        size_t start = 0;
        while (start < std::min(maxSilence, sound.size()) && sound[start] == 0.0F)
            start += step;
        int64_t previous = -1;
        for (size_t i = start; i < sound.size(); i += step) {
            const auto place = static_cast<int64_t>(sound[i] * 2.0F * kPeriod) - 1;
            if (place < 0 || (previous >= 0 && place != (previous + 1) % kPeriod))
                return false;
            if (numChannels == 2 && sound[i + 1] != -sound[i])
                return false;
            previous = place;
        }
        return true;
    }

    /// Waits until the scratch files hold some seconds of sound.
    static bool waitForScratch(uintmax_t numBytes)
    {
        return kit::waitUntil([&] {
            const auto files = scratchSounds();
            std::error_code ignored;
            return !files.empty() && std::filesystem::file_size(files.front(), ignored) > numBytes;
        });
    }
};

INSTANTIATE_TEST_SUITE_P(Server, RecordCommandTest, kit::eachServer(), kit::nameOfServer);

} // namespace

TEST_P(RecordCommandTest, RecordsEveryFrameUnchanged)
{
    START_SERVER_OR_SKIP();
    struct Case {
        const char* sink;
        const char* source;
        const char* file;
        int rate;
        int numChannels;
    };
    for (const Case& c : {Case{"two44", "two44.monitor", "out.wav", 44100, 2},
                          {"two48", "two48.monitor", "out.caf", 48000, 2},
                          {"two96", "two96.monitor", "out.aif", 96000, 2},
                          {"six48", "six48.monitor", "mono.wav", 48000, 1}}) {
        SCOPED_TRACE(c.source);
        const Sawtooth source(QString::fromLatin1(c.sink));
        ASSERT_TRUE(source.isRunning());
        bool isExact = false;
        // A machine under load may starve the server, which then plays silence in between.
        for (int attempt = 0; attempt < 10 && !isExact; ++attempt) {
            const test::Outcome outcome = cli({"record", c.file, "--seconds", "1.25", "--device", c.source,
                                               "--channels", std::to_string(c.numChannels)});
            ASSERT_EQ(outcome.status, 0) << outcome.errors.toStdString();
            EXPECT_TRUE(outcome.output.isEmpty());
            const QJsonObject info = infoOf(c.file);
            EXPECT_EQ(info[QStringLiteral("frames")].toInt(), c.rate * 5 / 4);
            EXPECT_EQ(info[QStringLiteral("sampleRate")].toInt(), c.rate);
            EXPECT_EQ(info[QStringLiteral("channels")].toInt(), c.numChannels);
            isExact = isSawtooth(decoded(c.file), c.numChannels);
        }
        EXPECT_TRUE(isExact);
    }
}

TEST_P(RecordCommandTest, RecordsFromASourceThatIsAnotherOnesRemapped)
{
    START_SERVER_OR_SKIP({{"two48", 48000, 2}});
    ASSERT_TRUE(server->addRemappedSource(QStringLiteral("remapped"), QStringLiteral("two48.monitor")));
    const Sawtooth source(QStringLiteral("two48"));
    ASSERT_TRUE(source.isRunning());
    bool isExact = false;
    for (int attempt = 0; attempt < 10 && !isExact; ++attempt) {
        const test::Outcome outcome = cli({"record", "out.wav", "--seconds", "1.25", "--device", "remapped"});
        ASSERT_EQ(outcome.status, 0) << outcome.errors.toStdString();
        EXPECT_EQ(infoOf("out.wav")[QStringLiteral("frames")].toInt(), 60000);
        isExact = isSawtooth(decoded("out.wav"), 2);
    }
    EXPECT_TRUE(isExact);
}

TEST_P(RecordCommandTest, TakesAllOfASourceThatBeginsWithSecondsAtOnce)
{
    START_SERVER_OR_SKIP();
    if (GetParam() == kit::ServerKind::pipeWire)
        GTEST_SKIP() << "it has no such source";
    ASSERT_TRUE(server->tell({QStringLiteral("load-module"), QStringLiteral("module-sine-source"),
                              QStringLiteral("source_name=sine"), QStringLiteral("rate=44100"),
                              QStringLiteral("frequency=441")}));
    const auto outcome = cli({"record", "out.wav", "--seconds", "4", "--device", "sine", "--channels", "1"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors.toStdString();
    EXPECT_FALSE(outcome.errors.contains("missing")) << outcome.errors.toStdString();
    // At 441 Hz a frame is as the one a hundred frames before.
    const std::vector<float> sound = decoded("out.wav");
    ASSERT_EQ(sound.size(), 4U * 44100);
    for (size_t i = 100; i < sound.size(); ++i)
        ASSERT_NEAR(sound[i], sound[i - 100], 2e-4) << i;
}

TEST_P(RecordCommandTest, RecordsAtTheRateThatIsAskedFor)
{
    START_SERVER_OR_SKIP({{"two48", 48000, 2}});
    const Sawtooth source(QStringLiteral("two48"));
    ASSERT_EQ(cli({"record", "out.wav", "--seconds", "0.5", "--rate", "44100"}).status, 0);
    const QJsonObject info = infoOf("out.wav");
    EXPECT_EQ(info[QStringLiteral("frames")].toInt(), 22050);
    EXPECT_EQ(info[QStringLiteral("sampleRate")].toInt(), 44100);
}

TEST_P(RecordCommandTest, KeepsTheTakeWhenItIsToldToEnd)
{
    START_SERVER_OR_SKIP({{"two44", 44100, 2}});
    const Sawtooth source(QStringLiteral("two44"));
    for (const int signal : {SIGINT, SIGTERM}) {
        std::filesystem::remove(path("out.wav"));
        const auto process = start({QStringLiteral("out.wav")});
        ASSERT_TRUE(waitForScratch(100000));
        ::kill(static_cast<pid_t>(process->processId()), signal);
        ASSERT_TRUE(waitForEnd(*process));
        EXPECT_EQ(process->exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(process->exitCode(), 0) << process->readAllStandardError().toStdString();
        EXPECT_GT(infoOf("out.wav")[QStringLiteral("frames")].toInt(), 20000);
        EXPECT_TRUE(scratchFiles().empty());
    }
}

TEST_P(RecordCommandTest, KeepsTheTakeWhenTheServerGoesAway)
{
    START_SERVER_OR_SKIP({{"two44", 44100, 2}});
    const auto process = start({QStringLiteral("out.wav")});
    ASSERT_TRUE(waitForScratch(100000));
    server->stop();
    ASSERT_TRUE(waitForEnd(*process));
    EXPECT_EQ(process->exitCode(), 1);
    EXPECT_EQ(process->readAllStandardError(),
              "velloria-cli: Recording stopped. The sound server went away. What was recorded until then is "
              "kept.\n");
    EXPECT_GT(infoOf("out.wav")[QStringLiteral("frames")].toInt(), 20000);
}

TEST_P(RecordCommandTest, LeavesAReadableTakeWhenItIsKilled)
{
    START_SERVER_OR_SKIP({{"two44", 44100, 2}});
    const auto process = start({QStringLiteral("out.wav")});
    ASSERT_TRUE(waitForScratch(200000));
    process->kill();
    ASSERT_TRUE(waitForEnd(*process));
    const auto files = scratchSounds();
    ASSERT_EQ(files.size(), 2U);
    for (const auto& file : files)
        EXPECT_GT(infoOf(file.native())[QStringLiteral("frames")].toInt(), 49000);
    const std::vector<LeftOverSound> sounds = LeftOverSounds::find(ScratchFolder::leftOvers());
    ASSERT_EQ(sounds.size(), 1U) << "left and right are one take";
    EXPECT_EQ(sounds[0].files.size(), 2U);
    EXPECT_TRUE(sounds[0].title().startsWith(QStringLiteral("Take of "))) << qPrintable(sounds[0].title());
    EXPECT_FALSE(LeftOverSounds::discard(sounds[0]));
    EXPECT_TRUE(scratchFiles().empty());
}

TEST_P(RecordCommandTest, KeepsTheTakeWhereItCannotBeSaved)
{
    START_SERVER_OR_SKIP({{"two44", 44100, 2}});
    makeFile("notes.txt", "precious");
    const auto process = start({QStringLiteral("gone/out.wav")});
    ASSERT_TRUE(waitForEnd(*process));
    EXPECT_EQ(process->exitCode(), 1) << "before anything was recorded";

    std::filesystem::create_directory(path("folder"));
    const auto second = start({QStringLiteral("folder/out.wav")});
    ASSERT_TRUE(waitForScratch(50000));
    std::filesystem::remove(path("folder"));
    ::kill(static_cast<pid_t>(second->processId()), SIGTERM);
    ASSERT_TRUE(waitForEnd(*second));
    EXPECT_EQ(second->exitCode(), 1);
    EXPECT_TRUE(second->readAllStandardError().contains("What was recorded is kept in "));
    EXPECT_EQ(scratchSounds().size(), 2U);
    ScratchFolder::removeLeftOversUpTo(INT64_MAX);
    EXPECT_TRUE(scratchFiles().empty());
}

TEST_P(RecordCommandTest, StartsWithTheFirstLoudBlock)
{
    START_SERVER_OR_SKIP({{"two44", 44100, 2}});
    Sawtooth source(QStringLiteral("two44"), true);
    const auto process = start({QStringLiteral("out.wav"), QStringLiteral("--level"), QStringLiteral("-90"),
                                QStringLiteral("--seconds"), QStringLiteral("0.5")});
    {
        // A second of silence, by the device's clock.
        const kit::MonitorCapture clock(QStringLiteral("two44"), 44100);
        ASSERT_TRUE(kit::waitUntil([&] { return clock.keeper.isFull(); }));
    }
    EXPECT_EQ(process->state(), QProcess::Running);
    source.setSilent(false);
    ASSERT_TRUE(waitForEnd(*process));
    EXPECT_EQ(process->exitCode(), 0) << process->readAllStandardError().toStdString();
    const std::vector<float> sound = decoded("out.wav");
    ASSERT_EQ(sound.size(), 2U * 22050);
    const auto first = std::find_if(sound.begin(), sound.end(), [](float sample) { return sample != 0.0F; });
    EXPECT_LT(first - sound.begin(), 2 * 8820) << "one block before the sound";
}

TEST_P(RecordCommandTest, SaysWhatIsWrong)
{
    qputenv("PULSE_SERVER", "unix:/nonexistent/socket");
    expectFailure({"record", "out.wav"}, 1, "No sound server can be reached");
    expectFailure({"record", "out.xyz"}, 2, "xyz");
    expectFailure({"record", "out.wav", "--channels", "3"}, 2, "--channels");
    expectFailure({"record", "out.wav", "--seconds", "0"}, 2, "--seconds must be more than 0");
    expectFailure({"record", "out.wav", "--rate", "7"}, 2, "--rate must be from 100 to 1000000");
    expectFailure({"record", "out.wav", "--level", "3"}, 2, "--level must be from -200 to 0");
    expectFailure({"record", "."}, 2, "");
    START_SERVER_OR_SKIP({{"two44", 44100, 2}});
    expectFailure({"record", "out.wav", "--device", "none"}, 1, "There is no input device \"none\".");
    expectFailure({"record", "out.wav", "--device", "two44"}, 1, "There is no input device");
    EXPECT_TRUE(fileNames().empty());
}
