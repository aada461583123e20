#pragma once

#include "Classes/CoreAudio/VLRTAudioPlayerCore.h"
#include "platform/NotificationCenter.h"

namespace velloria
{

class VLRTAudioPlayer;

/// What a player plays. It outlives the player or takes itself away first.
class VLRTAudioPlayerDelegate
{
public:
    /// Up to numFrames frames, none at the end. On a queue of the player's.
    virtual PlaybackBlock audioDataForAudioPlayback(VLRTAudioPlayer& player, int64_t numFrames) = 0;
    /// Main thread; the player may be destroyed from here.
    virtual void audioPlaybackDidStop(VLRTAudioPlayer& player) = 0;

protected:
    ~VLRTAudioPlayerDelegate() = default;
};

/// Plays what its delegate gives on the device that the preferences name, else the default one, and follows
/// the volume and channel preferences while it plays. Main thread.
class VLRTAudioPlayer final : private PlayerCoreDelegate
{
public:
    VLRTAudioPlayer(double sampleRate, uint32_t numberOfFramesInBuffer, VLRTAudioPlayerDelegate* delegate,
                    const QString& streamName = QStringLiteral("Velloria"),
                    Buffering buffering = Buffering::ample);
    ~VLRTAudioPlayer();
    VLRTAudioPlayer(const VLRTAudioPlayer&) = delete;
    VLRTAudioPlayer& operator=(const VLRTAudioPlayer&) = delete;

    /// Registers the defaults of the preferences read here.
    static void registerDefaults();
    /// What the preferences name when it is there, else the default output; 0 when there is none.
    static uint32_t selectedOutputDevice();
    /// About two seconds, a multiple of 1024.
    static uint32_t numberOfFramesForPlaying(double sampleRate);
    /// For Buffering::brief. A quarter of a second, because devices ask for up to a tenth at once: 4096
    /// frames, which once were plenty, would leave a hole in every request.
    static uint32_t numberOfFramesForPreview(double sampleRate);
    static float gainFromDecibels(double decibels);

    MaybeError start();
    void stop();
    bool isRunning() const { return mCore.isRunning(); }

    /// The document frame that is heard now; -1 before the first.
    int64_t playbackTimestamp() const { return mCore.timestamp(); }
    /// Drops what is buffered and goes on with what the delegate gives after `moveSource` has run.
    void reloadAudio(const std::function<void()>& moveSource);
    /// The same, where the delegate goes on from the frame being heard, which `moveSource` is given.
    void reloadFromHeardFrame(const std::function<void(int64_t)>& moveSource);

    /// Largest absolute samples before the gain since they were last asked for; nothing when the device asked
    /// for nothing since then.
    std::optional<PeakHolder::Peaks> takePeaks() { return mCore.feed().peaks().take(); }
    /// Whether the frames that the device takes are kept, about two seconds of them, for takeRendered().
    void keepRendered(bool isWanted) { mCore.feed().rendered().setWanted(isWanted); }
    /// Interleaved pairs before the gain since they were last asked for; good until the next call.
    std::span<const float> takeRendered() { return mCore.feed().rendered().take(); }

    /// Tempo at constant pitch; speed with pitch. Live.
    void setPlaybackRate(double tempo) { mCore.setPlaybackRate(tempo); }
    void setVarispeedRate(double speed) { mCore.setVarispeedRate(speed); }

    VLRTAudioPlayerCore& core() { return mCore; }
    const VLRTAudioPlayerCore& core() const { return mCore; }
    /// Whether it stopped because the delegate had no more.
    bool hasReachedEnd() const { return mCore.hasReachedEnd(); }
    /// Why it stopped.
    StopReason stopReason() const { return mStopReason; }

private:
    PlaybackBlock audioDataWithNumberOfFrames(int64_t numFrames) override;
    void audioPlaybackDidStop(StopReason reason) override;
    void configurationDidChange();
    void playbackVolumeDidChange();

    VLRTAudioPlayerDelegate* mDelegate;
    StopReason mStopReason = StopReason::requested;
    VLRTAudioPlayerCore mCore;
    NotificationCenter::Token mConfigurationToken;
    NotificationCenter::Token mVolumeToken;
};

} // namespace velloria
