#pragma once

#include "Classes/CoreAudio/VLAudioObject.h"
#include "Classes/CoreAudio/VLRTAudioMonitor.h"
#include "Classes/CoreAudio/VLRTAudioPlaythrough.h"
#include "platform/NotificationCenter.h"

#include <QTimer>
#include <functional>
#include <memory>

namespace velloria
{

/// The application's ear: runs the input monitor and the playthrough as the preferences say, and keeps
/// levels, peak holds and clip peaks for whoever shows them. Nothing runs while neither is wanted. Main
/// thread.
class InputLevelsController
{
public:
    static constexpr double kNoLevelDB = -100.0;

    InputLevelsController();
    ~InputLevelsController();
    InputLevelsController(const InputLevelsController&) = delete;
    InputLevelsController& operator=(const InputLevelsController&) = delete;

    /// The application's, made at the first call and kept until releaseShared().
    static InputLevelsController& inputLevelsController();
    static void releaseShared();
    static void registerDefaults();

    /// One side of the input; all in dB, kNoLevelDB for none.
    struct Side {
        double level = kNoLevelDB;
        double peakHold = kNoLevelDB;
        double clipPeak = kNoLevelDB;
    };
    const Side& left() const { return mLeft.side; }
    const Side& right() const { return mRight.side; }
    /// Told when any of them, or what runs, has changed.
    void setObserver(std::function<void()> observer) { mObserver = std::move(observer); }

    /// The word for what clips; nothing for silence; else a number, with a decimal above -10.
    static QString stringFromDecibelValue(double decibels);

    /// Somebody wants meters: the preference says so, or somebody uses them.
    bool metersActive() const;
    /// The preference.
    void setMetersActive(bool isActive);
    /// Keeps the meters running for as long as it lives, whatever others do meanwhile.
    using MeterUse = std::shared_ptr<void>;
    [[nodiscard]] MeterUse useMeters();
    /// Starts or stops the monitor as the preference and the uses say.
    void updateAudioMonitor();
    const VLRTAudioMonitor* audioMonitor() const { return mAudioMonitor.get(); }
    /// Why there are no levels although they are wanted.
    const MaybeError& monitorError() const { return mMonitorError; }

    bool isPlaythroughOn() const;
    void setPlaythrough(bool isOn);
    /// Starts or stops the playthrough as the preference says. Where it cannot start, devices and switch go
    /// back to their defaults.
    void updatePlaythroughState();
    VLRTAudioPlaythrough* audioPlaythrough() { return mAudioPlaythrough.get(); }
    /// Its output went away while the input was heard, which therefore is off until somebody wants it again.
    bool hasLostOutput() const { return mHasLostOutput; }

    void setLeftClipPeak(double decibels);
    void setRightClipPeak(double decibels);
    void resetLeftClip() { setLeftClipPeak(kNoLevelDB); }
    void resetRightClip() { setRightClipPeak(kNoLevelDB); }
    void resetAllClippingIndicators();
    void clearLeftPeakHoldTimer() { clearPeakHold(mLeft); }
    void clearRightPeakHoldTimer() { clearPeakHold(mRight); }

    // The device.
    VLAudioObject selectedAudioInputDevice() const;
    /// An empty UID stands for the default device.
    void selectInputDevice(const QString& uid);
    void selectInputChannels(int32_t left, int32_t right);
    bool isInputGainSettable() const;
    /// 0 to 1.
    float inputGain() const;
    void setInputGain(float gain);

private:
    /// What is known of one side.
    struct Channel {
        Side side;
        QTimer peakHoldTimer;
    };

    void startAudioMonitor();
    void startPlaythrough();
    void playthroughLostOutput();
    void inputLevelsDidChange(const InputLevels& levels);
    void take(Channel& channel, double level);
    void clearPeakHold(Channel& channel);
    void resetReadout();
    void inputDeviceDidChange();
    void outputDeviceDidChange();
    void watchDevices();
    void observe(const QString& name, const std::function<void(const void*)>& react);
    void tellObserver() const;

    Channel mLeft;
    Channel mRight;
    std::function<void()> mObserver;
    MaybeError mMonitorError;
    std::unique_ptr<VLRTAudioMonitor> mAudioMonitor;
    std::unique_ptr<VLRTAudioPlaythrough> mAudioPlaythrough;
    bool mHasLostOutput = false;
    int mNumUses = 0;
    std::shared_ptr<bool> mIsAlive = std::make_shared<bool>(true);
    /// While something runs that follows the default devices.
    std::vector<std::unique_ptr<AudioPropertyNotification>> mDeviceWatches;
    std::vector<NotificationCenter::Token> mTokens;
};

} // namespace velloria
