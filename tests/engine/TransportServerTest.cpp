#include "controllers/TransportController.h"
#include "controllers/TransportKit.h"
#include "engine/Capture.h"
#include "engine/ServerKinds.h"

#include <QProcess>

using namespace velloria;

namespace
{

/// A window's transport on a server of the test's own.
class TransportServerTest : public kit::WithServer<testing::Test>
{
protected:
    static constexpr int64_t kNumFrames = 60 * 44100;

    void SetUp() override
    {
        START_SERVER_OR_SKIP();
        AudioHardware::setCurrent(std::make_shared<PulseHardware>());
        VLRTAudioPlayer::registerDefaults();
        CueFollower::registerDefaults();
        FloatBuffer samples = kit::ramp(static_cast<size_t>(kNumFrames), 1);
        for (float& sample : samples)
            sample /= 4194304.0F;
        document = kit::documentOf({samples});
        controller = std::make_unique<SoundController>(document, host);
        host.view.setSampleRate(44100);
        host.view.setTotalTime(document->totalTime());
        host.view.setViewWidth(1000);
    }
    ~TransportServerTest() override
    {
        controller.reset();
        document.reset();
        AudioHardware::setCurrent(nullptr);
    }

    bool hear(double fromTime)
    {
        return kit::waitUntil([&] { return controller->transport().cueTime() > fromTime + 0.3; });
    }
    bool waitForStop()
    {
        return kit::waitUntil([this] { return document->transport().audioPlayback() == nullptr; });
    }
    /// Something is heard on a sink's monitor.
    static bool isHeard(const kit::MonitorCapture& capture)
    {
        return kit::waitUntil([&] { return capture.sound().size() > 20000; });
    }

    LogCapture log;
    kit::TransportHost host;
    std::shared_ptr<SoundDocument> document;
    std::unique_ptr<SoundController> controller;
};

INSTANTIATE_TEST_SUITE_P(Server, TransportServerTest, kit::eachServer(), kit::nameOfServer);

} // namespace

TEST_P(TransportServerTest, PausesWhenTheServerDiesAndPlaysAgainWhenItIsBack)
{
    controller->transport().playReturning();
    ASSERT_TRUE(hear(0));
    server->stop();
    ASSERT_TRUE(waitForStop());
    EXPECT_EQ(host.interruption, StopReason::serverLost);
    const double pausedAt = controller->transport().cueTime();
    EXPECT_GT(pausedAt, 0.3);
    controller->transport().playReturning();
    EXPECT_FALSE(controller->transport().isPlaying());
    EXPECT_TRUE(host.failure.startsWith(QStringLiteral("No sound server can be reached")))
        << qPrintable(host.failure);
    server->start();
    ASSERT_TRUE(kit::waitUntil([this] {
        controller->transport().play();
        return controller->transport().isPlaying();
    }));
    EXPECT_TRUE(hear(pausedAt));
}

TEST_P(TransportServerTest, FollowsTheDefaultSinkWhileItPlays)
{
    ASSERT_TRUE(server->tell({QStringLiteral("set-default-sink"), QStringLiteral("two44")}));
    const kit::MonitorCapture other(QStringLiteral("two48"), 480000);
    ASSERT_TRUE(other.isRunning());
    controller->transport().playReturning();
    ASSERT_TRUE(hear(0));
    ASSERT_TRUE(server->tell({QStringLiteral("set-default-sink"), QStringLiteral("two48")}));
    EXPECT_TRUE(isHeard(other));
    EXPECT_TRUE(controller->transport().isPlaying());
    EXPECT_TRUE(hear(controller->transport().cueTime()));
}

TEST_P(TransportServerTest, PausesWhenItsSinkIsTakenAway)
{
    ASSERT_TRUE(server->tell({QStringLiteral("set-default-sink"), QStringLiteral("two44")}));
    controller->transport().playReturning();
    ASSERT_TRUE(hear(0));
    ASSERT_TRUE(server->takeSinkAway(QStringLiteral("two44")));
    ASSERT_TRUE(waitForStop());
    EXPECT_EQ(host.interruption, StopReason::deviceLost);
    EXPECT_FALSE(controller->transport().isPlaying());
    controller->transport().play();
    EXPECT_TRUE(hear(controller->transport().cueTime()))
        << "who asks for it hears it there: " << qPrintable(host.failure);
}
