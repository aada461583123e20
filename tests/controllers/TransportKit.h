#pragma once

#include "Classes/CoreAudio/AudioPreferences.h"
#include "Classes/CoreAudio/VLRTAudioPlayer.h"
#include "controllers/ControllerKit.h"
#include "controllers/CueFollower.h"
#include "controllers/PlaybackLoudness.h"
#include "controllers/SelectionModel.h"
#include "display/WaveformViewGeometry.h"
#include "document/DocumentTransport.h"
#include "kit/SimulatedDevice.h"
#include "platform/Log.h"
#include "platform/UserDefaults.h"

#include <QCoreApplication>
#include <chrono>

namespace velloria::kit
{

/// A window with a view whose sound goes to simulated hardware.
class TransportHost : public HostRecorder
{
public:
    WaveformViewGeometry* mainView() override { return &view; }
    void outputLevelsDidChange(double leftDB, double rightDB) override { levels = {leftDB, rightDB}; }
    void outputLoudnessDidChange(const LoudnessReading& reading) override { loudness = reading; }
    void playbackFailed(const QString& message) override { failure = message; }
    void playbackWasInterrupted(StopReason reason) override { interruption = reason; }

    WaveformViewGeometry view;
    std::pair<double, double> levels = {0.0, 0.0};
    LoudnessReading loudness;
    QString failure;
    StopReason interruption = StopReason::requested;
};

/// On a device that asks for a tenth of a second at once, a tenth of a second before that is heard:
/// 20 seconds in which frame i holds i + 1, at 44100 Hz, with a controller.
class TransportTest : public testing::Test
{
protected:
    static constexpr double kRate = 44100.0;
    static constexpr int64_t kNumFrames = 20 * 44100;
    static constexpr uint32_t kLatency = 4410;

    TransportTest()
    {
        hardware->setOutputTiming(kLatency, kLatency);
        AudioHardware::setCurrent(hardware);
        VLRTAudioPlayer::registerDefaults();
        CueFollower::registerDefaults();
        document = documentOf({ramp(static_cast<size_t>(kNumFrames), 1)});
        controller = std::make_unique<SoundController>(document, host);
        host.view.setSampleRate(kRate);
        host.view.setTotalTime(document->totalTime());
        host.view.setMargin(10);
        host.view.setViewWidth(1000);
        host.view.setZoom(441);
    }
    ~TransportTest() override
    {
        controller.reset();
        document.reset();
        AudioHardware::setCurrent(nullptr);
        for (const QString& key : {AudioPreference::outputDevice(), AudioPreference::playbackVolume(),
                                   CueFollower::preferenceKey()})
            UserDefaults::standard().removeValue(key);
    }

    DocumentTransport& transport() { return document->transport(); }
    void select(double start, double end) { controller->selection().setSelection({start, end, 0, 1}); }

    /// The device asks for so many frames, in large and odd pieces; what it gets.
    std::vector<float> pull(int64_t numFrames)
    {
        return pullLeft(*hardware, transport().audioPlayback()->core(), numFrames, {kLatency, 777, 1, 4096});
    }

    /// Lets events be handled until something is so.
    bool waitUntil(const std::function<bool()>& isSo)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (!isSo() && std::chrono::steady_clock::now() < deadline)
            QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 10);
        return isSo();
    }
    bool waitForStop()
    {
        return waitUntil([this] { return transport().audioPlayback() == nullptr; });
    }
    /// The device plays on until the sound has ended by itself.
    bool playToTheEnd()
    {
        return waitUntil([this] {
            if (hardware->output())
                hardware->output()->pull(4096);
            return transport().audioPlayback() == nullptr;
        });
    }

    LogCapture log;
    std::shared_ptr<SimulatedHardware> hardware = std::make_shared<SimulatedHardware>();
    TransportHost host;
    std::shared_ptr<SoundDocument> document;
    std::unique_ptr<SoundController> controller;
};

} // namespace velloria::kit
