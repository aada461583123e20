#pragma once

#include "controllers/InputLevelsController.h"
#include "controllers/RecordingController.h"
#include "controllers/TransportController.h"
#include "controllers/TransportKit.h"
#include "document/DocumentRecording.h"

namespace velloria::kit
{

class RecordingHost : public TransportHost
{
public:
    void recordingFailed(const QString& message) override { recordingFailure = message; }
    void documentDidGrow() override { ++numGrowths; }

    QString recordingFailure;
    int numGrowths = 0;
};

/// A document of two seconds on simulated hardware, whose input hears what the test says.
class RecordingControllersTest : public testing::Test
{
protected:
    static constexpr double kRate = 44100.0;

    RecordingControllersTest()
    {
        AudioHardware::setCurrent(hardware);
        VLRTAudioPlayer::registerDefaults();
        CueFollower::registerDefaults();
        InputLevelsController::registerDefaults();
        document = documentOf({FloatBuffer(88200), FloatBuffer(88200)});
        controller = std::make_unique<SoundController>(document, host);
        host.view.setSampleRate(kRate);
        host.view.setTotalTime(document->totalTime());
        host.view.setViewWidth(1000);
        host.view.setZoom(441);
    }
    ~RecordingControllersTest() override
    {
        InputLevelsController::releaseShared();
        controller.reset();
        document.reset();
        AudioHardware::setCurrent(nullptr);
        UserDefaults& defaults = UserDefaults::standard();
        for (const char* key :
             {"audio.input.device", "audio.output.device", "audio.input.leftChannel",
              "audio.input.rightChannel", "audio.inputLevels.metersActive", "audioPlaythrough",
              "automaticRecording.startLevel", "automaticRecording.stopLevel",
              "automaticRecording.stopDuration", "timerRecording.defaultDuration", "playbackVolume"})
            defaults.removeValue(QString::fromLatin1(key));
    }

    /// The input hears a constant.
    void hear(size_t numFrames, float value)
    {
        hardware->input()->push(std::vector<float>(2 * numFrames, value));
    }
    bool waitForFrames(int64_t numFrames)
    {
        return waitUntil([&] { return document->recording().numRecordedFrames() >= numFrames; });
    }
    static bool waitUntil(const std::function<bool()>& isSo)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (!isSo() && std::chrono::steady_clock::now() < deadline)
            QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 10);
        return isSo();
    }
    bool waitForStop()
    {
        return waitUntil([this] { return !controller->recording().isRecording(); });
    }
    static InputLevelsController& levels() { return InputLevelsController::inputLevelsController(); }

    LogCapture log;
    std::shared_ptr<SimulatedHardware> hardware = std::make_shared<SimulatedHardware>();
    RecordingHost host;
    std::shared_ptr<SoundDocument> document;
    std::unique_ptr<SoundController> controller;
};

} // namespace velloria::kit
