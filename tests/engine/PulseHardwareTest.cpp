#include "platform/hardware/PulseHardware.h"
#include "engine/Capture.h"
#include "engine/EventLoop.h"
#include "engine/ServerKinds.h"
#include "platform/hardware/HardwareCodes.h"

using namespace velloria;

namespace
{

/// 1, 2, 3, ... on the left and the same negative on the right, once it runs.
class Counter : public OutputClient
{
public:
    int32_t render(float* left, float* right, uint32_t numFrames) noexcept override
    {
        for (uint32_t i = 0; i < numFrames; ++i) {
            mNext += 1.0F;
            left[i] = mNext / 65536.0F;
            right[i] = -mNext / 65536.0F;
        }
        numRendered.fetch_add(numFrames);
        return 0;
    }

    std::atomic<int64_t> numRendered{0};

private:
    float mNext = 0;
};

class PulseHardwareTest : public kit::WithServer<testing::Test>
{
};

QStringList uidsOf(const HardwareState& state)
{
    QStringList uids;
    for (const HardwareDevice& device : state.devices)
        uids += device.uid;
    uids.sort();
    return uids;
}

INSTANTIATE_TEST_SUITE_P(Server, PulseHardwareTest, kit::eachServer(), kit::nameOfServer);

} // namespace

TEST_P(PulseHardwareTest, ListsTheDevicesOfTheServer)
{
    START_SERVER_OR_SKIP({{"two44", 44100, 2}, {"six48", 48000, 6}});
    PulseHardware hardware;
    const HardwareState state = hardware.state();
    EXPECT_EQ(uidsOf(state), QStringList({QStringLiteral("six48"), QStringLiteral("six48.monitor"),
                                          QStringLiteral("two44"), QStringLiteral("two44.monitor")}));
    const HardwareDevice* const six = state.deviceWithUID(QStringLiteral("six48"));
    ASSERT_TRUE(six);
    EXPECT_EQ(six->name, QStringLiteral("six48"));
    EXPECT_EQ(six->sampleRate, 48000.0);
    EXPECT_EQ(six->output.numChannels(), 6U);
    EXPECT_EQ(six->input.numChannels(), 0U);
    EXPECT_TRUE(state.deviceWithUID(QStringLiteral("two44.monitor"))->isMonitor);
    EXPECT_NE(state.defaultOutput, 0U);
    EXPECT_EQ(hardware.unavailable(), std::nullopt);
}

TEST_P(PulseHardwareTest, WithoutAServerHasNoDevicesAndSaysWhy)
{
    qputenv("PULSE_SERVER", "unix:/nonexistent/socket");
    PulseHardware hardware;
    EXPECT_TRUE(hardware.state().devices.empty());
    const MaybeError error = hardware.unavailable();
    ASSERT_TRUE(error);
    EXPECT_TRUE(error->message.startsWith(QStringLiteral("No sound server can be reached: ")));
    Counter counter;
    MaybeError openError;
    EXPECT_FALSE(hardware.openOutput({2, QStringLiteral("Test"), {}}, counter, &openError));
    EXPECT_TRUE(openError);
    qunsetenv("PULSE_SERVER");
}

TEST_P(PulseHardwareTest, SetsAndTellsTheInputGain)
{
    START_SERVER_OR_SKIP({{"two44", 44100, 2}});
    PulseHardware hardware;
    const uint32_t id = hardware.state().deviceWithUID(QStringLiteral("two44.monitor"))->id;
    EXPECT_FALSE(hardware.setGain(id, AudioDirection::output, 0, 0.5F));
    EXPECT_TRUE(hardware.setGain(id, AudioDirection::input, 0, 0.5F));
    // What a second client of the server sees is what the server has.
    PulseHardware other;
    EXPECT_TRUE(kit::waitUntil([&] {
        return std::abs(
                   other.state().deviceWithUID(QStringLiteral("two44.monitor"))->input.gains.at(0).value -
                   0.5F) < 1e-3F;
    }));
}

TEST_P(PulseHardwareTest, FollowsAServerThatGoesAwayAndComesBack)
{
    START_SERVER_OR_SKIP({{"two44", 44100, 2}});
    PulseHardware hardware;
    const uint32_t id = hardware.state().deviceWithUID(QStringLiteral("two44"))->id;
    std::vector<FourCharCode> changes;
    hardware.addObserver([&](const HardwareChange& change) { changes.push_back(change.selector); });
    Counter counter;
    std::optional<StopReason> stopped;
    MaybeError error;
    const auto stream = hardware.openOutput(
        {id, QStringLiteral("Test"), [&](StopReason reason) { stopped = reason; }}, counter, &error);
    ASSERT_TRUE(stream);
    ASSERT_EQ(stream->start(), std::nullopt);
    EXPECT_TRUE(kit::waitUntil([&] { return counter.numRendered > 0; }));
    server->stop();
    EXPECT_TRUE(kit::waitUntil([&] { return stopped.has_value(); }));
    EXPECT_EQ(stopped, StopReason::serverLost);
    EXPECT_FALSE(stream->isRunning());
    EXPECT_TRUE(kit::waitUntil([&] { return !changes.empty(); }));
    server->start();
    EXPECT_TRUE(kit::waitUntil([&] { return !hardware.state().devices.empty(); }));
    EXPECT_EQ(hardware.state().deviceWithUID(QStringLiteral("two44"))->id, id);
}

TEST_P(PulseHardwareTest, IsNotHeldUpByAServerThatHangs)
{
    START_SERVER_OR_SKIP({{"two44", 44100, 2}});
    server->freeze();
    PulseHardware hardware(std::chrono::milliseconds(100));
    EXPECT_TRUE(hardware.state().devices.empty());
    const MaybeError silence = hardware.unavailable();
    ASSERT_TRUE(silence);
    EXPECT_EQ(silence->message, QStringLiteral("No sound server can be reached: no answer."));
    bool wasTold = false;
    hardware.addObserver([&](const HardwareChange&) { wasTold = true; });
    server->thaw();
    ASSERT_TRUE(kit::waitUntil([&] { return wasTold; })) << "it was waited for in the background";
    const HardwareState state = hardware.state();
    const HardwareDevice* const device = state.deviceWithUID(QStringLiteral("two44"));
    ASSERT_TRUE(device);

    Counter counter;
    const auto stream = hardware.openOutput({device->id, QStringLiteral("Test"), {}}, counter, nullptr);
    server->freeze();
    const MaybeError error = stream->start();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->message, QStringLiteral("The audio device cannot be used: no answer."));
    EXPECT_FALSE(stream->isRunning());
    server->thaw();
    EXPECT_TRUE(kit::waitUntil([&] { return !stream->start() && counter.numRendered > 0; }));
}

TEST_P(PulseHardwareTest, HandsOnWhatWaitsWhenItIsToldToStop)
{
    START_SERVER_OR_SKIP();
    if (GetParam() == kit::ServerKind::pipeWire)
        GTEST_SKIP() << "it has no source that begins with seconds at once";
    ASSERT_TRUE(server->tell({QStringLiteral("load-module"), QStringLiteral("module-sine-source"),
                              QStringLiteral("source_name=sine"), QStringLiteral("rate=44100")}));
    PulseHardware hardware;
    const HardwareState state = hardware.state();
    kit::Keeper keeper(1000000);
    std::optional<StopReason> stopped;
    const auto input =
        hardware.openInput({state.deviceWithUID(QStringLiteral("sine"))->id, QStringLiteral("Test"),
                            [&](StopReason reason) { stopped = reason; }},
                           keeper, nullptr);
    ASSERT_EQ(input->start(), std::nullopt);
    ASSERT_TRUE(kit::waitUntil([&] { return keeper.numKept > 0; }));
    // The burst is here, and most of it has to wait for its turn.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const size_t numKeptBefore = keeper.numKept;
    input->stop();
    input->stop();
    ASSERT_TRUE(kit::waitUntil([&] { return stopped.has_value(); }));
    EXPECT_EQ(stopped, StopReason::requested);
    EXPECT_FALSE(input->isRunning());
    EXPECT_GT(keeper.numKept, numKeptBefore + 22050);
    const size_t numKept = keeper.numKept;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(keeper.numKept, numKept) << "nothing comes after the end";
}

TEST_P(PulseHardwareTest, PlaysAndRecordsEveryFrameUnchanged)
{
    START_SERVER_OR_SKIP({{"two48", 48000, 2}});
    PulseHardware hardware;
    const HardwareState state = hardware.state();
    bool isUnbroken = false;
    // A machine under load may starve the server itself, which then says so; then this says nothing.
    for (int attempt = 0; attempt < 10 && !isUnbroken; ++attempt) {
        Counter counter;
        kit::Keeper keeper(30000);
        const auto input = hardware.openInput(
            {state.deviceWithUID(QStringLiteral("two48.monitor"))->id, QStringLiteral("Test"), {}}, keeper,
            nullptr);
        const auto output = hardware.openOutput(
            {state.deviceWithUID(QStringLiteral("two48"))->id, QStringLiteral("Test"), {}}, counter, nullptr);
        ASSERT_EQ(input->start(), std::nullopt);
        ASSERT_EQ(output->start(), std::nullopt);
        ASSERT_TRUE(kit::waitUntil([&] { return keeper.isFull(); }));
        if (output->numUnderruns() + input->numOverruns() > 0)
            continue;
        const auto firstSound = static_cast<size_t>(
            std::find_if(keeper.frames.begin(), keeper.frames.end(), [](float x) { return x != 0; }) -
            keeper.frames.begin());
        ASSERT_EQ(firstSound % 2, 0U);
        float expected = keeper.frames[firstSound];
        size_t numWrong = 0;
        for (size_t i = firstSound; i < keeper.frames.size(); i += 2) {
            numWrong += keeper.frames[i] != expected || keeper.frames[i + 1] != -expected;
            expected += 1.0F / 65536.0F;
        }
        isUnbroken = numWrong == 0;
    }
    EXPECT_TRUE(isUnbroken);
}
