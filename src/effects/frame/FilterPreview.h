#pragma once

#include "Classes/CoreAudio/AudioMixer.h"
#include "Classes/CoreAudio/VLRTAudioPlayer.h"
#include "effects/frame/Filter.h"
#include "effects/frame/LevelMatchedBypass.h"
#include "effects/frame/PreviewLevels.h"

#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace velloria
{

/// Lets an effect be heard over its selection before it is applied, once or in an endless loop. What is
/// changed meanwhile counts from the next block on: no frame goes through the effect twice, so that whatever
/// it holds (echoes, levels, phases) runs on. Little is buffered, so that the change is heard soon. The
/// effect outlives it and is used for nothing else meanwhile. Main thread.
class FilterPreview final : public VLRTAudioPlayerDelegate
{
public:
    using StoppedHandler = std::function<void(StopReason)>;

    explicit FilterPreview(Filter& filter, StoppedHandler didStop = {});
    /// Stops, and tells nobody.
    ~FilterPreview();
    FilterPreview(const FilterPreview&) = delete;
    FilterPreview& operator=(const FilterPreview&) = delete;

    /// An effect that measures its selection does that first; cancelled, it is an error without a message to
    /// show.
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

    /// How loud it was since they were last taken, up to the frame that is heard now; nothing when nothing is
    /// heard.
    std::optional<PreviewLevels> takeHeardLevels();

    VLRTAudioPlayer* audioPlayback() const { return mPlayer.get(); }

private:
    PlaybackBlock audioDataForAudioPlayback(VLRTAudioPlayer& player, int64_t numFrames) override;
    void audioPlaybackDidStop(VLRTAudioPlayer& player) override;
    void makeMixers();
    MaybeError startPlayer();
    void finish(StopReason reason);
    PlaybackBlock nextBlock(int64_t numFrames);
    void readDry(int64_t frame, size_t numFrames, size_t numChannels);
    void repeatFrom(int64_t frame);

    Filter& mFilter;
    StoppedHandler mDidStop;
    AudioMixer mMixer;
    AudioMixer mDryMixer;
    std::shared_ptr<DocumentSource> mDrySource;
    /// Between the fill queue, which holds it for a block at a time, and who changes the effect.
    std::mutex mBlockMutex;
    SampleBlock mDry; ///< of the fill queue
    SampleBlock mDryPart;
    std::deque<PlaybackBlock> mGiven;  ///< to the player, lately; of the fill queue
    std::deque<PlaybackBlock> mRepeat; ///< what goes to the next device before anything new
    bool mLoops = false;
    bool mIsProcessing = false;
    LevelMatchedBypass mBypass;
    PreviewLevelQueue mLevels;
    std::unique_ptr<VLRTAudioPlayer> mPlayer; ///< last: it reads from the others
};

} // namespace velloria
