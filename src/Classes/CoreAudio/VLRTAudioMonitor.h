#pragma once

#include "Classes/CoreAudio/InputUnit.h"
#include "platform/PeriodicTimer.h"

#include <atomic>

namespace velloria
{

/// How loud an input was, in dB; minus infinity for silence.
struct InputLevels {
    double leftLevel = 0.0;
    double rightLevel = 0.0;
};

/// The device's side of a monitor: it finds the peaks, about 24 times a second. All but capture() may be
/// called on any thread.
class VLRTAudioMonitorCore final : public InputClient
{
public:
    VLRTAudioMonitorCore();
    /// Frames a second; before the device runs.
    void setDeviceSampleRate(double rate) { mDeviceSampleRate = rate; }
    void capture(const float* frames, uint32_t numFrames) noexcept override;

    /// The levels since the report before, when there is a new report.
    bool takeReport(InputLevels& levels);

private:
    void report() noexcept;

    double mDeviceSampleRate = 44100.0;
    // The device's thread's.
    float mLeftPeak = 0.0F;
    float mRightPeak = 0.0F;
    double mElapsed = 0.0;
    // Both peaks of a report in one, so that they belong together. All bits set: nothing new.
    std::atomic<uint64_t> mReport;
};

/// Listens to the input that the preferences name without recording it, and posts "inputLevelsDidChange" with
/// the InputLevels as sender about 24 times a second. Main thread.
class VLRTAudioMonitor
{
public:
    /// `didStop` is called when the device goes away, too.
    explicit VLRTAudioMonitor(StoppedHandler didStop = {});
    ~VLRTAudioMonitor();
    VLRTAudioMonitor(const VLRTAudioMonitor&) = delete;
    VLRTAudioMonitor& operator=(const VLRTAudioMonitor&) = delete;

    MaybeError start();
    void stop();
    bool isRunning() const { return mUnit.isRunning(); }
    const InputUnit& unit() const { return mUnit; }

private:
    void service();

    VLRTAudioMonitorCore mCore;
    std::shared_ptr<bool> mIsAlive = std::make_shared<bool>(true);
    // Destroyed first, in this order from the end: no call of the timer or of the device comes afterwards.
    InputUnit mUnit;
    std::unique_ptr<PeriodicTimer> mTimer;
};

} // namespace velloria
