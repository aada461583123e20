#include "Classes/CoreAudio/VLRTAudioPlayer.h"

#include "Classes/CoreAudio/AudioPreferences.h"
#include "Classes/CoreAudio/VLAudioObject.h"
#include "platform/UserDefaults.h"

#include <cmath>

namespace velloria
{

namespace
{

VLRTAudioPlayerCore::Settings settingsFor(double sampleRate, uint32_t numFrames, const QString& streamName,
                                          Buffering buffering)
{
    const UserDefaults& defaults = UserDefaults::standard();
    VLRTAudioPlayerCore::Settings settings;
    settings.numFramesInRing = static_cast<int32_t>(numFrames);
    settings.device = VLRTAudioPlayer::selectedOutputDevice();
    settings.leftChannel = defaults.integerValue(AudioPreference::outputLeftChannel());
    settings.rightChannel = defaults.integerValue(AudioPreference::outputRightChannel());
    settings.sampleRate = sampleRate;
    settings.streamName = streamName;
    settings.buffering = buffering;
    return settings;
}

} // namespace

VLRTAudioPlayer::VLRTAudioPlayer(double sampleRate, uint32_t numberOfFramesInBuffer,
                                 VLRTAudioPlayerDelegate* delegate, const QString& streamName,
                                 Buffering buffering)
    : mDelegate(delegate)
    , mCore(settingsFor(sampleRate, numberOfFramesInBuffer, streamName, buffering), this)
    , mConfigurationToken(
          NotificationCenter::standard().addObserver(AudioNotification::outputConfigurationDidChange(),
                                                     [this](const void*) { configurationDidChange(); }))
    , mVolumeToken(NotificationCenter::standard().addObserver(
          AudioNotification::playbackVolumeDidChange(), [this](const void*) { playbackVolumeDidChange(); }))
{
    playbackVolumeDidChange();
}

VLRTAudioPlayer::~VLRTAudioPlayer()
{
    NotificationCenter::standard().removeObserver(mConfigurationToken);
    NotificationCenter::standard().removeObserver(mVolumeToken);
}

void VLRTAudioPlayer::registerDefaults()
{
    UserDefaults& defaults = UserDefaults::standard();
    defaults.registerDefault(AudioPreference::outputDevice(), QString());
    defaults.registerDefault(AudioPreference::outputLeftChannel(), 0);
    defaults.registerDefault(AudioPreference::outputRightChannel(), 1);
    defaults.registerDefault(AudioPreference::playbackVolume(), 0.0);
}

uint32_t VLRTAudioPlayer::selectedOutputDevice()
{
    const QString uid = UserDefaults::standard().stringValue(AudioPreference::outputDevice());
    const std::optional<VLAudioObject> chosen = VLAudioObject::deviceForUID(uid);
    return chosen ? chosen->audioObjectID() : VLAudioObject::defaultOutputDevice().audioObjectID();
}

uint32_t VLRTAudioPlayer::numberOfFramesForPlaying(double sampleRate)
{
    return static_cast<uint32_t>(std::ceil(2.0 * sampleRate / 1024.0)) * 1024U;
}

uint32_t VLRTAudioPlayer::numberOfFramesForPreview(double sampleRate)
{
    return static_cast<uint32_t>(std::ceil(0.25 * sampleRate / 1024.0)) * 1024U;
}

float VLRTAudioPlayer::gainFromDecibels(double decibels)
{
    return std::pow(10.0F, static_cast<float>(decibels) / 20.0F);
}

MaybeError VLRTAudioPlayer::start()
{
    return mCore.start();
}

void VLRTAudioPlayer::stop()
{
    mCore.stop();
}

void VLRTAudioPlayer::reloadAudio(const std::function<void()>& moveSource)
{
    mCore.reload([&moveSource](std::optional<int64_t>) {
        if (moveSource)
            moveSource();
        return false;
    });
}

void VLRTAudioPlayer::reloadFromHeardFrame(const std::function<void(int64_t)>& moveSource)
{
    mCore.reload([&moveSource](std::optional<int64_t> heard) {
        if (heard)
            moveSource(*heard);
        return heard.has_value();
    });
}

PlaybackBlock VLRTAudioPlayer::audioDataWithNumberOfFrames(int64_t numFrames)
{
    return mDelegate ? mDelegate->audioDataForAudioPlayback(*this, numFrames) : PlaybackBlock();
}

void VLRTAudioPlayer::audioPlaybackDidStop(StopReason reason)
{
    mStopReason = reason;
    if (mDelegate)
        mDelegate->audioPlaybackDidStop(*this);
}

void VLRTAudioPlayer::configurationDidChange()
{
    const UserDefaults& defaults = UserDefaults::standard();
    mCore.setChannels(defaults.integerValue(AudioPreference::outputLeftChannel()),
                      defaults.integerValue(AudioPreference::outputRightChannel()));
}

void VLRTAudioPlayer::playbackVolumeDidChange()
{
    const double decibels = UserDefaults::standard().doubleValue(AudioPreference::playbackVolume());
    mCore.feed().gain = gainFromDecibels(decibels);
}

} // namespace velloria
