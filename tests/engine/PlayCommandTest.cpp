#include "cli/CliKit.h"
#include "engine/Capture.h"
#include "engine/ServerKinds.h"

#include <QProcess>

using namespace velloria;

namespace
{

/// The program velloria-cli, playing into a null sink of the test's own server.
class PlayCommandTest : public kit::WithServer<test::CliTest>
{
protected:
    /// A stereo file of 32-bit floats in which every frame is different and none is silent.
    void makeRamps(const std::string& name, int numFrames, int rate)
    {
        mRamps.clear();
        for (int i = 1; i <= numFrames; ++i) {
            mRamps.push_back(static_cast<float>(i) / 1048576.0F);
            mRamps.push_back(-mRamps.back());
        }
        const QByteArray bytes(reinterpret_cast<const char*>(mRamps.data()),
                               static_cast<qsizetype>(mRamps.size() * sizeof(float)));
        makeFile(name, test::wave({3, 2, rate, 32}, bytes));
    }

    std::unique_ptr<QProcess> start(const QStringList& arguments) const
    {
        auto process = std::make_unique<QProcess>();
        process->setWorkingDirectory(QString::fromStdString(path("").native()));
        process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process->start(QString::fromStdString(program()), arguments);
        return process;
    }

    static bool waitForEnd(const QProcess& process)
    {
        return kit::waitUntil([&] { return process.state() == QProcess::NotRunning; });
    }

    bool endsLikeTheFile(const std::vector<float>& sound) const
    {
        return !sound.empty() && sound.back() == mRamps.back();
    }

    /// Every frame up to the last one. The first ones need not be there: the server mixes a new stream into
    /// what the sink has already played to its monitor.
    bool isTheFileFromItsStart(const std::vector<float>& sound, size_t maxFramesMissing) const
    {
        return sound.size() <= mRamps.size() && sound.size() + 2 * maxFramesMissing >= mRamps.size() &&
               std::equal(sound.rbegin(), sound.rend(), mRamps.rbegin());
    }

private:
    std::vector<float> mRamps;
};

INSTANTIATE_TEST_SUITE_P(Server, PlayCommandTest, kit::eachServer(), kit::nameOfServer);

} // namespace

TEST_P(PlayCommandTest, PlaysEveryFrameOfAFileUnchanged)
{
    START_SERVER_OR_SKIP();
    struct Case {
        const char* sink;
        int rate;
    };
    for (const Case& c : {Case{"two44", 44100}, {"two48", 48000}, {"two96", 96000}, {"six48", 48000}}) {
        SCOPED_TRACE(c.sink);
        const QString sink = QString::fromLatin1(c.sink);
        makeRamps("in.wav", c.rate, c.rate);
        bool isEqual = false;
        // A machine under load may starve the server, which then plays silence in between.
        for (int attempt = 0; attempt < 10 && !isEqual; ++attempt) {
            const kit::MonitorCapture capture(sink, static_cast<size_t>(60 * c.rate));
            ASSERT_TRUE(capture.isRunning());
            const auto process =
                start({QStringLiteral("play"), QStringLiteral("in.wav"), QStringLiteral("--device"), sink});
            ASSERT_TRUE(waitForEnd(*process));
            ASSERT_EQ(process->exitCode(), 0);
            EXPECT_TRUE(process->readAllStandardOutput().isEmpty());
            // What was handed over last is still on its way.
            kit::waitUntil([&] { return endsLikeTheFile(capture.sound()); }, std::chrono::seconds(2));
            isEqual = isTheFileFromItsStart(capture.sound(), static_cast<size_t>(c.rate) / 10);
        }
        EXPECT_TRUE(isEqual);
    }
}

TEST_P(PlayCommandTest, EndsCleanlyWhenItIsTold)
{
    START_SERVER_OR_SKIP({{"two44", 44100, 2}});
    makeRamps("in.wav", 441000, 44100);
    for (const int signal : {SIGINT, SIGTERM}) {
        const kit::MonitorCapture capture(QStringLiteral("two44"), 4410000);
        const auto process =
            start({QStringLiteral("play"), QStringLiteral("in.wav"), QStringLiteral("--loop")});
        ASSERT_TRUE(kit::waitUntil([&] { return capture.sound().size() > 1000; }));
        ::kill(static_cast<pid_t>(process->processId()), signal);
        ASSERT_TRUE(waitForEnd(*process));
        EXPECT_EQ(process->exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(process->exitCode(), 0);
    }
}

TEST_P(PlayCommandTest, SaysThatTheServerWentAway)
{
    START_SERVER_OR_SKIP({{"two44", 44100, 2}});
    makeRamps("in.wav", 441000, 44100);
    const auto process = std::make_unique<QProcess>();
    {
        const kit::MonitorCapture capture(QStringLiteral("two44"), 4410000);
        process->setWorkingDirectory(QString::fromStdString(path("").native()));
        process->start(QString::fromStdString(program()), {QStringLiteral("play"), QStringLiteral("in.wav")});
        ASSERT_TRUE(kit::waitUntil([&] { return capture.sound().size() > 1000; }));
    }
    server->stop();
    ASSERT_TRUE(waitForEnd(*process));
    EXPECT_EQ(process->exitCode(), 1);
    EXPECT_EQ(process->readAllStandardError(), "velloria-cli: The sound server went away.\n");
}

TEST_P(PlayCommandTest, SaysWhatIsWrong)
{
    makeNoise("in.wav", 1000);
    qputenv("PULSE_SERVER", "unix:/nonexistent/socket");
    expectFailure({"play", "in.wav"}, 1, "No sound server can be reached");
    expectFailure({"devices"}, 1, "No sound server can be reached");
    expectFailure({"play", "none.wav"}, 1, "none.wav");
    expectFailure({"play", "in.wav", "--speed", "9"}, 2, "--speed must be from 0.5 to 2");
    START_SERVER_OR_SKIP({{"two44", 44100, 2}});
    expectFailure({"play", "in.wav", "--device", "none"}, 1, "There is no output device \"none\".");
    expectFailure({"play", "in.wav", "--device", "two44.monitor"}, 1, "There is no output device");
}
