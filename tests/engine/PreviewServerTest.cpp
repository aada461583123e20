#include "Classes/CoreAudio/AudioPreferences.h"
#include "document/DocumentKit.h"
#include "effects/EffectRegistry.h"
#include "effects/frame/FilterPreview.h"
#include "engine/Capture.h"
#include "engine/ServerKinds.h"
#include "platform/Log.h"
#include "platform/UserDefaults.h"

using namespace velloria;

namespace
{

/// The preview of an effect that changes nothing, into a null sink of the test's own server.
class PreviewServerTest : public kit::WithServer<testing::Test>
{
protected:
    static constexpr float kStep = 1.0F / 4194304.0F;

    ~PreviewServerTest() override
    {
        preview.reset();
        AudioHardware::setCurrent(nullptr);
        UserDefaults::standard().removeValue(AudioPreference::outputDevice());
    }

    void makePreview(double rate, size_t numFrames)
    {
        preview.reset();
        FloatBuffer samples = kit::ramp(numFrames, 1);
        for (float& sample : samples)
            sample *= kStep;
        document = kit::documentOf({samples});
        document->undoableSetSampleRate(rate);
        const EffectEntry* const entry = EffectRegistry::effectWithScriptName(QStringLiteral("amplify"));
        filter = entry->make(entry->menuTitle);
        filter->setSource(
            std::make_shared<DocumentSource>(document, SoundSelection{0.0, document->totalTime(), 0, 1}));
        filter->setParameterValue(0, 0.0);
        hasStopped = false;
        preview = std::make_unique<FilterPreview>(*filter, [this](StopReason) { hasStopped = true; });
    }

    /// Every frame to the last one, one after the other. The first ones need not be there: the server mixes a
    /// new stream into what the sink has already played to its monitor.
    static bool isRampToItsEnd(const std::vector<float>& sound, size_t numFrames, size_t maxFramesMissing)
    {
        const size_t numHeard = sound.size() / 2;
        if (numHeard > numFrames || numHeard + maxFramesMissing < numFrames)
            return false;
        for (size_t i = 0; i < sound.size(); ++i) {
            const size_t frame = numFrames - numHeard + i / 2 + 1;
            if (sound[i] != static_cast<float>(frame) * kStep)
                return false;
        }
        return true;
    }

    LogCapture log;
    std::shared_ptr<SoundDocument> document;
    std::shared_ptr<Filter> filter;
    std::unique_ptr<FilterPreview> preview;
    bool hasStopped = false;
};

INSTANTIATE_TEST_SUITE_P(Server, PreviewServerTest, kit::eachServer(), kit::nameOfServer);

} // namespace

TEST_P(PreviewServerTest, IsHeardFromItsFirstFrameToItsLastWithoutAHole)
{
    START_SERVER_OR_SKIP({{"s44", 44100}, {"s48", 48000}, {"s96", 96000}, {"s192", 192000}});
    AudioHardware::setCurrent(std::make_shared<PulseHardware>());
    VLRTAudioPlayer::registerDefaults();
    for (const auto& [name, rate] :
         {std::pair{"s44", 44100}, {"s48", 48000}, {"s96", 96000}, {"s192", 192000}}) {
        SCOPED_TRACE(name);
        const QString sink = QString::fromLatin1(name);
        UserDefaults::standard().setValue(AudioPreference::outputDevice(), sink);
        const size_t numFrames = 3 * static_cast<size_t>(rate) / 2;
        bool isWhole = false;
        // A machine under load may starve the server or the 70 ms that a preview is ahead, and then there is
        // silence in between.
        for (int attempt = 0; attempt < 10 && !isWhole; ++attempt) {
            const kit::MonitorCapture capture(sink, static_cast<size_t>(20 * rate));
            ASSERT_TRUE(capture.isRunning());
            makePreview(rate, numFrames);
            ASSERT_FALSE(preview->start());
            ASSERT_TRUE(kit::waitUntil([this] { return hasStopped; }));
            // What was handed over last is still on its way.
            const auto hasEnded = [&] {
                const std::vector<float> sound = capture.sound();
                return !sound.empty() && sound.back() == static_cast<float>(numFrames) * kStep;
            };
            kit::waitUntil(hasEnded, std::chrono::seconds(2));
            isWhole = isRampToItsEnd(capture.sound(), numFrames, static_cast<size_t>(rate) / 10);
        }
        EXPECT_TRUE(isWhole);
    }
}
