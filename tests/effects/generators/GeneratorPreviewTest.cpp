#include "effects/generators/GeneratorPreview.h"

#include "effects/GeneratorRegistry.h"
#include "kit/SimulatedDevice.h"
#include "platform/Log.h"

#include <QCoreApplication>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace velloria::kit
{

/// A tone of 441 Hz at -6 dB on a simulated device that grants 50 ms: it asks for so much at once and lets it
/// be heard so much later.
class GeneratorPreviewTest : public testing::Test
{
protected:
    static constexpr double kRate = 44100.0;
    static constexpr uint32_t kRequest = 2205;

    GeneratorPreviewTest()
    {
        AudioHardware::setCurrent(hardware);
        VLRTAudioPlayer::registerDefaults();
        hardware->setOutputTiming(kRequest, kRequest);
        generator->parameters().setValue(Generator::kAmplitude, -6.0);
        generator->parameters().setValue(kFrequency, 441.0);
    }
    ~GeneratorPreviewTest() override
    {
        preview.reset();
        AudioHardware::setCurrent(nullptr);
    }
    std::vector<float> pull(int64_t numFrames)
    {
        return pullLeft(*hardware, preview->audioPlayback()->core(), numFrames, {kRequest, 777});
    }

    static constexpr size_t kFrequency = Generator::kNumCommonParameters;
    LogCapture log;
    std::shared_ptr<SimulatedHardware> hardware = std::make_shared<SimulatedHardware>();
    std::unique_ptr<Generator> generator =
        GeneratorRegistry::generatorWithScriptName(QStringLiteral("insert tone"))
            ->make(QStringLiteral("Tone"));
    int numStops = 0;
    std::unique_ptr<GeneratorPreview> preview =
        std::make_unique<GeneratorPreview>(*generator, kRate, [this](StopReason) { ++numStops; });
};

TEST_F(GeneratorPreviewTest, SoundsOnAndFollowsChangesWithoutAClick)
{
    ASSERT_FALSE(preview->start());
    std::vector<float> heard = pull(20000);
    const double factor = std::pow(10.0, -0.3);
    for (size_t i = 500; i < heard.size(); ++i)
        ASSERT_NEAR(heard[i], factor * std::sin(2 * std::numbers::pi * static_cast<double>(i) / 100), 1e-4)
            << i;
    for (const double hertz : {1000.0, 300.0, 440.0}) {
        preview->change([&] { generator->parameters().setValue(kFrequency, hertz); });
        const std::vector<float> more = pull(9000);
        heard.insert(heard.end(), more.begin(), more.end());
    }
    preview->setSounding(false);
    const std::vector<float> fading = pull(20000);
    heard.insert(heard.end(), fading.begin(), fading.end());
    EXPECT_EQ(fading.back(), 0.0F);
    // No step is larger than the steepest of these tones and the crossfade between them have.
    const double steepest = factor * (2 * std::numbers::pi * 1000 / kRate + 2 / (0.01 * kRate));
    for (size_t i = 1; i < heard.size(); ++i)
        ASSERT_LE(std::abs(heard[i] - heard[i - 1]), steepest * 1.01) << i;
    preview->stop();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (numStops == 0 && std::chrono::steady_clock::now() < deadline)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    EXPECT_EQ(numStops, 1);
    EXPECT_EQ(hardware->output(), nullptr);
}

TEST_F(GeneratorPreviewTest, FailsWithoutADevice)
{
    hardware->setOpenError(Error{Error::Code::failed, QStringLiteral("No sound server can be reached.")});
    ASSERT_TRUE(preview->start());
    EXPECT_FALSE(preview->isRunning());
    preview->change([this] { generator->parameters().setValue(kFrequency, 50.0); });
    hardware->setOpenError(std::nullopt);
    ASSERT_FALSE(preview->start());
    EXPECT_TRUE(preview->isRunning());
}

} // namespace velloria::kit
