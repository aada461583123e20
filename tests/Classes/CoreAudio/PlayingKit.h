#pragma once

#include "Classes/CoreAudio/AudioPreferences.h"
#include "Classes/CoreAudio/RealtimeTrap.h"
#include "document/DocumentKit.h"
#include "document/DocumentTransport.h"
#include "platform/Log.h"
#include "platform/UserDefaults.h"
#include "platform/hardware/SimulatedStreams.h"

#include <QCoreApplication>
#include <chrono>
#include <thread>

namespace velloria::kit
{

/// A document that plays on simulated hardware, whose clock only moves when the test says so. Like real
/// devices it asks for up to a tenth of a second at once, a tenth of a second before that is heard.
class PlayingTest : public testing::Test
{
protected:
    static constexpr uint32_t kRequest = 4410;
    static constexpr int64_t kLatency = 4410;

    PlayingTest()
    {
        hardware->setOutputTiming(kLatency, kRequest);
        AudioHardware::setCurrent(hardware);
        VLRTAudioPlayer::registerDefaults();
    }
    ~PlayingTest() override
    {
        document.reset();
        AudioHardware::setCurrent(nullptr);
        for (const QString& key : {AudioPreference::outputDevice(), AudioPreference::outputLeftChannel(),
                                   AudioPreference::outputRightChannel(), AudioPreference::playbackVolume()})
            UserDefaults::standard().removeValue(key);
    }

    /// A stereo document: frame i holds i + 1 and -(i + 1), so that no frame is silent and each tells its
    /// place.
    void makeRamps(int64_t numFrames)
    {
        const auto count = static_cast<size_t>(numFrames);
        FloatBuffer right = ramp(count, 1);
        for (float& sample : right)
            sample = -sample;
        document = documentOf({ramp(count, 1), right});
    }

    void setDevice(const HardwareDevice& device)
    {
        HardwareState state = hardware->state();
        state.devices[0] = device;
        hardware->setState(state);
    }

    DocumentTransport& transport() { return document->transport(); }
    double seconds(int64_t frame) const { return static_cast<double>(frame) / document->sampleRate(); }
    SoundSelection range(int64_t start, int64_t end) const
    {
        return {seconds(start), seconds(end), 0, document->trackCount()};
    }
    SoundSelection everything() const { return range(0, document->numberOfFrames()); }

    /// Waits until the ring holds so many frames, or all that will come.
    void waitForFill(int64_t numFrames)
    {
        PlaybackFeed& feed = transport().audioPlayback()->core().feed();
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (feed.ring.framesAvailableToConsume() < numFrames && !feed.sourceExhausted &&
               std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::microseconds(200));
    }

    /// What the device plays of the left channel, frame by frame, in blocks of the sizes given in turn. The
    /// ring never runs dry before the end.
    std::vector<float> play(int64_t numFrames, const std::vector<uint32_t>& blockSizes = {kRequest, 512, 1})
    {
        std::vector<float> left;
        for (size_t i = 0; static_cast<int64_t>(left.size()) < numFrames; ++i) {
            const auto rest = static_cast<uint32_t>(numFrames - static_cast<int64_t>(left.size()));
            const uint32_t size = std::min(blockSizes[i % blockSizes.size()], rest);
            waitForFill(4 * int64_t{size} + 4096);
            const std::vector<float> frames = hardware->output()->pull(size);
            const uint32_t numChannels = hardware->output()->numChannels();
            for (size_t frame = 0; frame * numChannels < frames.size(); ++frame)
                left.push_back(frames[frame * numChannels]);
            if (frames.empty())
                break;
        }
        return left;
    }

    /// Frames start .. end - 1 of the ramp.
    static std::vector<float> rampFrames(int64_t start, int64_t end)
    {
        std::vector<float> frames;
        for (int64_t i = start; i < end; ++i)
            frames.push_back(static_cast<float>(i + 1));
        return frames;
    }

    /// Runs the event loop until the device stands still; false when it never does.
    bool waitForStop()
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (transport().audioPlayback() && std::chrono::steady_clock::now() < deadline) {
            if (hardware->output())
                hardware->output()->pull(512);
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        }
        return transport().audioPlayback() == nullptr;
    }

    LogCapture log;
    std::shared_ptr<TrappingHardware> hardware = std::make_shared<TrappingHardware>();
    std::shared_ptr<SoundDocument> document;
};

} // namespace velloria::kit
