#include "controllers/InputLevelsController.h"

#include "Classes/CoreAudio/AudioPreferences.h"
#include "Classes/CoreAudio/VLRTAudioPlayer.h"
#include "platform/UserDefaults.h"

#include <QLocale>
#include <algorithm>
#include <utility>

namespace velloria
{

namespace
{

constexpr std::chrono::milliseconds kPeakHold(2000);
constexpr double kClipDB = -0.01;

std::unique_ptr<InputLevelsController>& shared()
{
    static std::unique_ptr<InputLevelsController> controller;
    return controller;
}

} // namespace

InputLevelsController::InputLevelsController()
{
    for (Channel* const channel : {&mLeft, &mRight}) {
        channel->peakHoldTimer.setSingleShot(true);
        QObject::connect(&channel->peakHoldTimer, &QTimer::timeout, &channel->peakHoldTimer,
                         [this, channel] { clearPeakHold(*channel); });
    }
    observe(AudioNotification::inputLevelsDidChange(),
            [this](const void* levels) { inputLevelsDidChange(*static_cast<const InputLevels*>(levels)); });
    observe(AudioNotification::metersActiveDidChange(), [this](const void*) { updateAudioMonitor(); });
    observe(AudioNotification::inputDeviceDidChange(), [this](const void*) { inputDeviceDidChange(); });
    observe(AudioNotification::outputDeviceDidChange(), [this](const void*) { outputDeviceDidChange(); });
    // As the preferences say, but for one thing: hearing the input never begins by itself, because a
    // microphone near its loudspeakers would howl at a person who only started the program.
    if (isPlaythroughOn())
        UserDefaults::standard().setValue(AudioPreference::playthrough(), false);
    updateAudioMonitor();
}

InputLevelsController::~InputLevelsController()
{
    for (const NotificationCenter::Token token : mTokens)
        NotificationCenter::standard().removeObserver(token);
}

void InputLevelsController::observe(const QString& name, const std::function<void(const void*)>& react)
{
    mTokens.push_back(NotificationCenter::standard().addObserver(name, react));
}

InputLevelsController& InputLevelsController::inputLevelsController()
{
    if (!shared())
        shared() = std::make_unique<InputLevelsController>();
    return *shared();
}

void InputLevelsController::releaseShared()
{
    shared().reset();
}

void InputLevelsController::registerDefaults()
{
    InputUnit::registerDefaults();
    UserDefaults::standard().registerDefault(AudioPreference::inputMetersActive(), 0);
    UserDefaults::standard().registerDefault(AudioPreference::playthrough(), false);
}

QString InputLevelsController::stringFromDecibelValue(double decibels)
{
    if (decibels >= kClipDB)
        return QStringLiteral("Clip");
    if (!(decibels > kNoLevelDB))
        return {};
    return QLocale().toString(decibels, 'f', decibels > -10.0 ? 1 : 0);
}

void InputLevelsController::tellObserver() const
{
    if (mObserver)
        mObserver();
}

bool InputLevelsController::metersActive() const
{
    return mNumUses > 0 || UserDefaults::standard().integerValue(AudioPreference::inputMetersActive()) == 1;
}

InputLevelsController::MeterUse InputLevelsController::useMeters()
{
    ++mNumUses;
    updateAudioMonitor();
    // What it points to does not matter, only that it ends.
    return {this, [alive = std::weak_ptr(mIsAlive)](void* controller) {
                if (!alive.lock())
                    return;
                auto* const levels = static_cast<InputLevelsController*>(controller);
                --levels->mNumUses;
                levels->updateAudioMonitor();
            }};
}

void InputLevelsController::setMetersActive(bool isActive)
{
    UserDefaults::standard().setValue(AudioPreference::inputMetersActive(), isActive ? 1 : 0);
    NotificationCenter::standard().post(AudioNotification::metersActiveDidChange());
}

void InputLevelsController::startAudioMonitor()
{
    mAudioMonitor = std::make_unique<VLRTAudioMonitor>([this](StopReason reason) {
        if (reason != StopReason::requested)
            inputDeviceDidChange();
    });
    mMonitorError = mAudioMonitor->start();
}

void InputLevelsController::updateAudioMonitor()
{
    if (metersActive() && !mAudioMonitor)
        startAudioMonitor();
    else if (!metersActive()) {
        mAudioMonitor.reset();
        mMonitorError.reset();
        resetReadout();
    }
    watchDevices();
    tellObserver();
}

bool InputLevelsController::isPlaythroughOn() const
{
    return UserDefaults::standard().boolValue(AudioPreference::playthrough());
}

void InputLevelsController::setPlaythrough(bool isOn)
{
    mHasLostOutput = false;
    UserDefaults::standard().setValue(AudioPreference::playthrough(), isOn);
    updatePlaythroughState();
}

void InputLevelsController::startPlaythrough()
{
    const auto inputDidStop = [this](StopReason reason) {
        if (reason != StopReason::requested)
            inputDeviceDidChange();
    };
    const auto outputDidStop = [this](StopReason reason) {
        if (reason != StopReason::requested)
            playthroughLostOutput();
    };
    mAudioPlaythrough = std::make_unique<VLRTAudioPlaythrough>(inputDidStop, outputDidStop);
    if (!mAudioPlaythrough->start())
        return;
    UserDefaults& defaults = UserDefaults::standard();
    defaults.removeValue(AudioPreference::inputDevice());
    defaults.removeValue(AudioPreference::outputDevice());
    defaults.setValue(AudioPreference::playthrough(), false);
    mAudioPlaythrough.reset();
}

/// Whoever pulled the headphones does not want the microphone to sound from the loudspeakers instead.
void InputLevelsController::playthroughLostOutput()
{
    mHasLostOutput = true;
    UserDefaults::standard().setValue(AudioPreference::playthrough(), false);
    updatePlaythroughState();
}

void InputLevelsController::updatePlaythroughState()
{
    if (!isPlaythroughOn())
        mAudioPlaythrough.reset();
    else if (!mAudioPlaythrough)
        startPlaythrough();
    watchDevices();
    tellObserver();
}

/// Who asks for the devices is told of each change, so that happens only while it matters.
void InputLevelsController::watchDevices()
{
    const bool isWanted = metersActive() || isPlaythroughOn();
    if (isWanted == !mDeviceWatches.empty())
        return;
    mDeviceWatches.clear();
    if (!isWanted)
        return;
    const VLAudioObject system(HardwareChange::kSystemObject);
    for (const FourCharCode selector : {HardwareCode::kDefaultInput, HardwareCode::kDevices})
        mDeviceWatches.push_back(std::make_unique<AudioPropertyNotification>(
            AudioNotification::inputDeviceDidChange(), system, selector));
    for (const FourCharCode selector : {HardwareCode::kDefaultOutput, HardwareCode::kDevices})
        mDeviceWatches.push_back(std::make_unique<AudioPropertyNotification>(
            AudioNotification::outputDeviceDidChange(), system, selector));
}

void InputLevelsController::inputDeviceDidChange()
{
    const uint32_t selected = InputUnit::selectedInputDevice();
    if (metersActive() &&
        (!mAudioMonitor || !mAudioMonitor->isRunning() || mAudioMonitor->unit().device() != selected)) {
        mAudioMonitor.reset();
        resetReadout();
        startAudioMonitor();
    }
    if (isPlaythroughOn() && (!mAudioPlaythrough || !mAudioPlaythrough->isRunning() ||
                              mAudioPlaythrough->inputDevice() != selected)) {
        mAudioPlaythrough.reset();
        startPlaythrough();
    }
    tellObserver();
}

void InputLevelsController::outputDeviceDidChange()
{
    if (!mAudioPlaythrough)
        return;
    const uint32_t present = mAudioPlaythrough->outputDevice();
    const uint32_t selected = VLRTAudioPlayer::selectedOutputDevice();
    // The stream of a device that is gone ends by itself.
    if (selected == 0 || selected == present || !AudioHardware::current().state().deviceWithID(present))
        return;
    mAudioPlaythrough.reset();
    updatePlaythroughState();
}

void InputLevelsController::inputLevelsDidChange(const InputLevels& levels)
{
    if (!mAudioMonitor)
        return;
    take(mLeft, levels.leftLevel);
    take(mRight, levels.rightLevel);
    tellObserver();
}

void InputLevelsController::take(Channel& channel, double level)
{
    Side& side = channel.side;
    side.level = std::max(level, kNoLevelDB);
    side.clipPeak = std::max(side.clipPeak, side.level);
    if (side.level > side.peakHold) {
        side.peakHold = side.level;
        channel.peakHoldTimer.start(kPeakHold);
    }
}

void InputLevelsController::clearPeakHold(Channel& channel)
{
    channel.peakHoldTimer.stop();
    channel.side.peakHold = channel.side.level;
    tellObserver();
}

void InputLevelsController::resetReadout()
{
    for (Channel* const channel : {&mLeft, &mRight}) {
        channel->peakHoldTimer.stop();
        channel->side = {};
    }
}

void InputLevelsController::setLeftClipPeak(double decibels)
{
    mLeft.side.clipPeak = decibels;
    tellObserver();
}

void InputLevelsController::setRightClipPeak(double decibels)
{
    mRight.side.clipPeak = decibels;
    tellObserver();
}

void InputLevelsController::resetAllClippingIndicators()
{
    resetLeftClip();
    resetRightClip();
}

VLAudioObject InputLevelsController::selectedAudioInputDevice() const
{
    return VLAudioObject(InputUnit::selectedInputDevice());
}

void InputLevelsController::selectInputDevice(const QString& uid)
{
    if (uid.isEmpty())
        UserDefaults::standard().removeValue(AudioPreference::inputDevice());
    else
        UserDefaults::standard().setValue(AudioPreference::inputDevice(), uid);
    NotificationCenter::standard().post(AudioNotification::inputDeviceDidChange());
}

void InputLevelsController::selectInputChannels(int32_t leftChannel, int32_t rightChannel)
{
    UserDefaults::standard().setValue(AudioPreference::inputLeftChannel(), leftChannel);
    UserDefaults::standard().setValue(AudioPreference::inputRightChannel(), rightChannel);
    // What records takes them up at once; monitor and playthrough at their start.
    NotificationCenter::standard().post(AudioNotification::inputChannelsDidChange());
    if (mAudioMonitor) {
        mAudioMonitor.reset();
        resetReadout();
        startAudioMonitor();
    }
    if (mAudioPlaythrough) {
        mAudioPlaythrough.reset();
        startPlaythrough();
    }
    tellObserver();
}

bool InputLevelsController::isInputGainSettable() const
{
    const VLAudioObject device = selectedAudioInputDevice();
    if (device.audioObjectID() == 0)
        return false;
    for (const uint32_t element : {0U, 1U, 2U})
        if (device.isGainSettableForScope(HardwareCode::kInput, element))
            return true;
    return false;
}

float InputLevelsController::inputGain() const
{
    return isInputGainSettable() ? selectedAudioInputDevice().masterInputGain() : 0.0F;
}

void InputLevelsController::setInputGain(float gain)
{
    if (!isInputGainSettable())
        return;
    selectedAudioInputDevice().setMasterInputGain(std::clamp(gain, 0.0F, 1.0F));
    NotificationCenter::standard().post(AudioNotification::inputGainDidChange());
}

} // namespace velloria
