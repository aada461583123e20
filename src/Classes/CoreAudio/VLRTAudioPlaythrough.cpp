#include "Classes/CoreAudio/VLRTAudioPlaythrough.h"

#include "Classes/CoreAudio/AudioPreferences.h"
#include "Classes/CoreAudio/VLRTAudioPlayer.h"
#include "platform/Log.h"
#include "platform/UserDefaults.h"

#include <algorithm>

namespace velloria
{

namespace
{

// Devices hand over and ask for about 20 ms at once; this much lets both be late once.
constexpr double kLengthSeconds = 0.08;

VLRTAudioPlayerCore::Settings playerSettings(uint32_t device, double sampleRate, int32_t numFrames)
{
    const UserDefaults& defaults = UserDefaults::standard();
    VLRTAudioPlayerCore::Settings settings;
    settings.numFramesInRing = numFrames;
    settings.device = device;
    settings.leftChannel = defaults.integerValue(AudioPreference::outputLeftChannel());
    settings.rightChannel = defaults.integerValue(AudioPreference::outputRightChannel());
    settings.sampleRate = sampleRate;
    settings.streamName = QStringLiteral("Velloria");
    return settings;
}

} // namespace

VLRTAudioPlaythrough::VLRTAudioPlaythrough(StoppedHandler inputDidStop, StoppedHandler outputDidStop)
    : mOutputDevice(VLRTAudioPlayer::selectedOutputDevice())
    , mVolumeToken(NotificationCenter::standard().addObserver(
          AudioNotification::playbackVolumeDidChange(), [this](const void*) { playbackVolumeDidChange(); }))
    , mConfigurationToken(
          NotificationCenter::standard().addObserver(AudioNotification::outputConfigurationDidChange(),
                                                     [this](const void*) { outputConfigurationDidChange(); }))
    , mUnit(InputUnit::settingsFromPreferences(QStringLiteral("Velloria")), *this, std::move(inputDidStop))
{
    const double rate = mUnit.sampleRate();
    if (rate > 1.0) {
        mLength = std::clamp(static_cast<int32_t>(rate * kLengthSeconds), 1024, kRingFrames - 1);
        VLRTAudioPlayerCore::Settings settings = playerSettings(mOutputDevice, rate, kRingFrames);
        settings.didStop = std::move(outputDidStop);
        mPlayerCore = std::make_unique<VLRTAudioPlayerCore>(settings, nullptr);
    }
    playbackVolumeDidChange();
}

VLRTAudioPlaythrough::~VLRTAudioPlaythrough()
{
    NotificationCenter::standard().removeObserver(mVolumeToken);
    NotificationCenter::standard().removeObserver(mConfigurationToken);
}

MaybeError VLRTAudioPlaythrough::start()
{
    printLine(QStringLiteral("VLRTAudioPlaythroughCore: fastest playthrough, length=%1").arg(mLength));
    // The output first, so that nothing piles up before it runs.
    if (mPlayerCore)
        if (MaybeError error = mPlayerCore->start())
            return error;
    MaybeError error = mUnit.start();
    if (error && mPlayerCore)
        mPlayerCore->stop();
    return error;
}

/// The lines that told of a failure here, each under the other's name, have no occasion: no stream of this
/// hardware can fail to stop.
void VLRTAudioPlaythrough::stop()
{
    mUnit.stop();
    if (mPlayerCore)
        mPlayerCore->stop();
}

/// REALTIME.
void VLRTAudioPlaythrough::capture(const float* frames, uint32_t numFrames) noexcept
{
    const auto count = static_cast<int32_t>(numFrames);
    if (mPlayerCore &&
        mPlayerCore->feed().ring.framesAvailableToConsume() + count <= std::max(mLength, count))
        mPlayerCore->appendFrames(frames, count);
}

void VLRTAudioPlaythrough::playbackVolumeDidChange()
{
    const double decibels = UserDefaults::standard().doubleValue(AudioPreference::playbackVolume());
    if (mPlayerCore)
        mPlayerCore->feed().gain = VLRTAudioPlayer::gainFromDecibels(decibels);
}

void VLRTAudioPlaythrough::outputConfigurationDidChange()
{
    const UserDefaults& defaults = UserDefaults::standard();
    if (mPlayerCore)
        mPlayerCore->setChannels(defaults.integerValue(AudioPreference::outputLeftChannel()),
                                 defaults.integerValue(AudioPreference::outputRightChannel()));
}

} // namespace velloria
