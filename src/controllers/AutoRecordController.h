#pragma once

#include "controllers/AutoRecordGate.h"
#include "controllers/SoundController.h"
#include "document/DocumentRecording.h"

namespace velloria
{

/// Automatic recording: appends to a document what is loud enough. One object a recording; it may go away
/// while the recorder still stops. Main thread.
class AutoRecordController final : private VLRTAudioRecordingDelegate
{
public:
    explicit AutoRecordController(SoundController& controller);
    /// What is being recorded goes on to the document as a plain recording, which the owner stops. After
    /// completeAction() what still comes is chosen as before.
    ~AutoRecordController();
    AutoRecordController(const AutoRecordController&) = delete;
    AutoRecordController& operator=(const AutoRecordController&) = delete;

    static void registerDefaults();

    /// Switches the meters on and records from the document's end on.
    MaybeError begin();
    /// Keeps the settings for the next time and stops.
    void completeAction();

    // The sliders, taken up with the next block.
    const AutoRecordGate::Settings& settings() const { return mSettings; }
    void setStartLevel(double decibels) { mSettings.startLevel = decibels; }
    void setStopLevel(double decibels) { mSettings.stopLevel = decibels; }
    void setStopDuration(double seconds) { mSettings.stopDuration = seconds; }
    QString startReadout() const;
    QString stopReadout() const;
    QString durationReadout() const;

    double timeRemainingBeforeStop() const { return mGate.timeRemainingBeforeStop(); }

    /// One block of the history.
    struct Bar {
        double level = 0.0; ///< dB
        double seconds = 0.0;
        bool isWritten = false;
    };
    void setBlockHandler(std::function<void(const Bar&)> handler) { mBlockHandler = std::move(handler); }
    /// Called when it has ended, whoever ended it.
    void setStoppedHandler(std::function<void()> handler) { mStoppedHandler = std::move(handler); }

private:
    bool audioRecording(VLRTAudioRecorder& recorder, const FloatBuffer& leftData,
                        const FloatBuffer& rightData) override;
    void audioRecordingDidStop(VLRTAudioRecorder& recorder) override;

    SoundController& mController;
    AutoRecordGate::Settings mSettings;
    AutoRecordGate mGate;
    bool mIsDone = false;
    std::function<void(const Bar&)> mBlockHandler;
    std::function<void()> mStoppedHandler;
};

} // namespace velloria
