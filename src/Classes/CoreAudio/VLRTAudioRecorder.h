#pragma once

#include "Classes/CoreAudio/VLRTAudioRecorderCore.h"
#include "document/clips/AudioClip.h"
#include "platform/NotificationCenter.h"
#include "platform/codec/AudioConverterWrapper.h"

namespace velloria
{

class VLRTAudioRecorder;

/// Who gets what a recorder records. It outlives the recorder or takes itself away first. Main thread.
class VLRTAudioRecordingDelegate
{
public:
    /// The next frames, as many of the left side as of the right. False when no more is wanted: the recorder
    /// then stops.
    virtual bool audioRecording(VLRTAudioRecorder& recorder, const FloatBuffer& leftData,
                                const FloatBuffer& rightData) = 0;
    /// All that was recorded was handed over; the recorder may be destroyed from here.
    virtual void audioRecordingDidStop(VLRTAudioRecorder& recorder) = 0;

protected:
    ~VLRTAudioRecordingDelegate() = default;
};

/// Records stereo frames at a rate of the caller's choice from the device that the preferences name, else the
/// default one. Where the device runs at another rate exactly ceil(frames x rate / device rate) frames come.
/// Main thread.
class VLRTAudioRecorder final : private RecorderCoreDelegate, private AudioConverterDataSource
{
public:
    explicit VLRTAudioRecorder(double outputSampleRate,
                               const QString& streamName = QStringLiteral("Velloria"));
    ~VLRTAudioRecorder() override;
    VLRTAudioRecorder(const VLRTAudioRecorder&) = delete;
    VLRTAudioRecorder& operator=(const VLRTAudioRecorder&) = delete;

    VLRTAudioRecordingDelegate* delegate() const { return mDelegate; }
    void setDelegate(VLRTAudioRecordingDelegate* delegate) { mDelegate = delegate; }

    MaybeError start();
    /// The delegate hears of it once everything was handed over.
    void stop() { mCore.stop(); }
    /// Whether the device runs.
    bool isRunning() const { return mCore.isRunning(); }

    VLRTAudioRecorderCore& core() { return mCore; }
    const VLRTAudioRecorderCore& core() const { return mCore; }
    /// Why it stopped.
    StopReason stopReason() const { return mStopReason; }

private:
    void recordedBytes(std::vector<float> pairs) override;
    void recordedAll() override;
    void recordingDidStop(StopReason reason) override;
    std::vector<float> interleavedDataForAudioConverter(AudioConverterWrapper& converter,
                                                        int64_t numberOfPackets) override;
    MaybeError makeConverter();
    void deliver(std::vector<float> pairs);
    void notifyDelegateAboutRecordedData(const std::vector<float>& pairs);
    void channelsDidChange();
    void configurationDidChange();

    VLRTAudioRecordingDelegate* mDelegate = nullptr;
    StopReason mStopReason = StopReason::requested;
    // Both are the recording queue's while the device runs.
    std::unique_ptr<AudioConverterWrapper> mSampleRateConverter;
    std::vector<float> mSampleRateConverterInputData;
    // Outlives the core, whose queue refers to it; looked at on the main thread alone.
    std::shared_ptr<bool> mIsAlive = std::make_shared<bool>(true);
    NotificationCenter::Token mConfigurationToken;
    NotificationCenter::Token mChannelsToken;
    VLRTAudioRecorderCore mCore;
};

} // namespace velloria
