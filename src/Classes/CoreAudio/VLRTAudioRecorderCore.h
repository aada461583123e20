#pragma once

#include "Classes/CoreAudio/InputUnit.h"
#include "Classes/CoreAudio/VLRTRingBuffer.h"
#include "platform/DispatchQueue.h"
#include "platform/PeriodicTimer.h"

#include <atomic>
#include <vector>

namespace velloria
{

/// Who gets what a recorder core takes in.
class RecorderCoreDelegate
{
public:
    /// Interleaved stereo frames at the device's rate, in order. On the core's queue.
    virtual void recordedBytes(std::vector<float> pairs) = 0;
    /// No more of this run will come. On the core's queue, after its last recordedBytes().
    virtual void recordedAll() = 0;
    /// The device stands still and all that it heard was handed over. Main thread.
    virtual void recordingDidStop(StopReason reason) = 0;

protected:
    ~RecorderCoreDelegate() = default;
};

/// Takes in what a device hears: its thread fills a ring, a serial queue empties it. Made, used and destroyed
/// on the main thread. The device's thread only sets atomics; a timer, which exists while the device runs,
/// looks at the ring and starts the drains.
class VLRTAudioRecorderCore final : private InputClient
{
public:
    VLRTAudioRecorderCore(const InputUnit::Settings& settings, double outputSampleRate,
                          RecorderCoreDelegate& delegate);
    /// Waits for the drains under way; stops the device without telling the delegate.
    ~VLRTAudioRecorderCore() override;

    /// After finishRun().
    MaybeError start();
    void stop();
    bool isRunning() const { return mUnit.isRunning(); }
    /// Hands over what is still there of a run whose device stands still.
    void finishRun();

    int32_t channels() const { return mUnit.channels(); }
    void setChannels(int32_t left, int32_t right) { mUnit.setChannels(left, right); }
    double deviceSampleRate() const { return mDeviceSampleRate; }
    double outputSampleRate() const { return mOutputSampleRate; }
    /// What the device handed over and the queue has not taken yet. Any thread.
    int32_t numFramesWaiting() const { return mRing.framesAvailableToConsume(); }
    /// Blocks that were lost: because nobody took them in time, or by the device. Any thread.
    uint64_t numLostBlocks() const;

private:
    static constexpr int32_t kRingFrames = 65536;

    void capture(const float* frames, uint32_t numFrames) noexcept override;
    void service();
    void drain();
    void deviceDidChange(const HardwareChange& change);
    void streamFormatDidChange();
    void streamDidStop(StopReason reason);

    RecorderCoreDelegate& mDelegate;
    const double mOutputSampleRate;
    double mDeviceSampleRate = 0.0;
    StopReason mReasonToStop = StopReason::requested;
    VLRTRingBuffer mRing{kRingFrames, RingMessages::When::later};
    std::atomic<uint64_t> mNumRefused{0};
    std::atomic<bool> mIsDrainScheduled{false};
    DispatchQueue mRecordingQueue;
    std::shared_ptr<DispatchGroup> mRecordingGroup = std::make_shared<DispatchGroup>();
    AudioHardware& mHardware;
    int mObserverToken = 0;
    // Destroyed first, in this order from the end: no call of the timer or of the device comes afterwards.
    InputUnit mUnit;
    std::unique_ptr<PeriodicTimer> mTimer;
};

} // namespace velloria
