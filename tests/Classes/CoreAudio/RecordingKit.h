#pragma once

#include "Classes/CoreAudio/AudioPreferences.h"
#include "Classes/CoreAudio/RealtimeTrap.h"
#include "document/DocumentKit.h"
#include "document/DocumentRecording.h"
#include "document/DocumentTransport.h"
#include "platform/Log.h"
#include "platform/UserDefaults.h"
#include "platform/hardware/SimulatedStreams.h"

#include <QCoreApplication>
#include <chrono>
#include <thread>

namespace velloria::kit
{

/// A document that records from simulated hardware, which hears only what the test says.
class RecordingTest : public testing::Test
{
protected:
    RecordingTest()
    {
        AudioHardware::setCurrent(hardware);
        InputUnit::registerDefaults();
    }
    ~RecordingTest() override
    {
        document.reset();
        AudioHardware::setCurrent(nullptr);
        for (const QString& key : {AudioPreference::inputDevice(), AudioPreference::inputLeftChannel(),
                                   AudioPreference::inputRightChannel()})
            UserDefaults::standard().removeValue(key);
    }

    void setInput(double sampleRate, uint32_t numChannels = 2)
    {
        HardwareState state = hardware->state();
        state.devices[1] = SimulatedHardware::inputDevice(3, QStringLiteral("in"), sampleRate, numChannels);
        hardware->setState(state);
    }

    DocumentRecording& recording() { return document->recording(); }

    /// The device hears the next frames of an endless ramp, on each channel another: frame i of channel c is
    /// i + 1 + c / 4.
    void hear(size_t numFrames)
    {
        const uint32_t numChannels = hardware->input()->numDeviceChannels();
        std::vector<float> frames;
        for (size_t i = 0; i < numFrames; ++i, ++mFramesHeard)
            for (uint32_t c = 0; c < numChannels; ++c)
                frames.push_back(static_cast<float>(mFramesHeard + 1) + static_cast<float>(c) / 4.0F);
        hardware->input()->push(frames);
    }

    /// How many frames it heard, of all devices.
    size_t numHeard() const { return mFramesHeard; }

    /// The same in blocks of the sizes given in turn, as fast as the recorder can take them.
    void hearBlocks(size_t numFrames, const std::vector<size_t>& blockSizes)
    {
        const size_t end = mFramesHeard + numFrames;
        for (size_t i = 0; mFramesHeard < end; ++i) {
            hear(std::min(blockSizes[i % blockSizes.size()], end - mFramesHeard));
            while (document->recording().numRecordedFrames() + 20000 < static_cast<int64_t>(mFramesHeard) &&
                   recording().isRecording())
                QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        }
    }

    /// Runs the event loop until it is so; false when it never is.
    static bool waitUntil(const std::function<bool()>& isSo)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (!isSo() && std::chrono::steady_clock::now() < deadline)
            QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 5);
        return isSo();
    }
    bool waitForFrames(int64_t numFrames)
    {
        return waitUntil([&] { return recording().numRecordedFrames() >= numFrames; });
    }
    bool waitForStop()
    {
        return waitUntil([&] { return !recording().isInProgress(); });
    }
    bool stop()
    {
        document->transport().stopSound();
        return waitForStop();
    }

    FloatBuffer track(int32_t index) const
    {
        return document->sampleDataAtOffset(0, document->numberOfFrames(), index);
    }
    /// Frames start .. end - 1 of channel `channel` of what is heard.
    static FloatBuffer heard(int64_t start, int64_t end, int channel)
    {
        return ramp(static_cast<size_t>(end - start),
                    static_cast<float>(start + 1) + static_cast<float>(channel) / 4.0F);
    }

    LogCapture log;
    std::shared_ptr<TrappingHardware> hardware = std::make_shared<TrappingHardware>();
    std::shared_ptr<SoundDocument> document = std::make_shared<SoundDocument>();

private:
    size_t mFramesHeard = 0;
};

} // namespace velloria::kit
