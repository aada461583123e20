#pragma once

#include "Classes/CoreAudio/AudioMixer.h"
#include "Classes/CoreAudio/VLRTAudioPlayer.h"
#include "effects/Filter.h"
#include "effects/LevelMatchedBypass.h"

#include <functional>
#include <memory>

namespace velloria
{

/// Lets an effect be heard over its selection before it is applied, once or in an endless loop. A change of
/// parameters drops what is buffered and goes on from the frame being heard, so that it is heard at once.
/// The effect outlives it and is used for nothing else meanwhile. Main thread.
class FilterPreview final : public VLRTAudioPlayerDelegate
{
public:
    using StoppedHandler = std::function<void(StopReason)>;

    explicit FilterPreview(Filter& filter, StoppedHandler didStop = {});
    /// Stops, and tells nobody.
    ~FilterPreview();
    FilterPreview(const FilterPreview&) = delete;
    FilterPreview& operator=(const FilterPreview&) = delete;

    MaybeError start();
    /// Does not wait; the handler is called when it is silent.
    void stop();
    /// Goes on at the device that the preferences name or that is the default one now, if it is another. An
    /// error is told as the end of the sound.
    void moveToSelectedDevice();
    bool isRunning() const { return mPlayer && mPlayer->isRunning(); }

    /// Also while it plays.
    void setLooping(bool loops);
    /// The sound without the effect, as loud as with it.
    void setBypassed(bool isBypassed);

    /// Runs a function that changes the effect's parameters, between two blocks.
    void change(const std::function<void()>& setParameters);

    VLRTAudioPlayer* audioPlayback() const { return mPlayer.get(); }

private:
    PlaybackBlock audioDataForAudioPlayback(VLRTAudioPlayer& player, int64_t numFrames) override;
    void audioPlaybackDidStop(VLRTAudioPlayer& player) override;
    void makeMixers();
    MaybeError startPlayer();
    void finish(StopReason reason);
    void moveSourceTo(int64_t frame);
    void readDry(int64_t frame, size_t numFrames, size_t numChannels);

    Filter& mFilter;
    StoppedHandler mDidStop;
    AudioMixer mMixer;
    AudioMixer mDryMixer;
    std::shared_ptr<DocumentSource> mDrySource;
    SampleBlock mDry; ///< of the fill queue
    bool mLoops = false;
    bool mIsProcessing = false;
    LevelMatchedBypass mBypass;
    std::unique_ptr<VLRTAudioPlayer> mPlayer; ///< last: it reads from the others
};

} // namespace velloria
