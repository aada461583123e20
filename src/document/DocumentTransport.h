#pragma once

#include "Classes/CoreAudio/DocumentSource.h"
#include "Classes/CoreAudio/VLRTAudioPlayer.h"

#include <memory>

namespace velloria
{

class SoundDocument;

/// Plays a document: from idle over playing and stopping back to idle. While it plays, a new cue moves the
/// source and a changed loop takes effect at once; a new selection counts from the next start. Main thread,
/// but for the frames that the player asks for.
class DocumentTransport final : public VLRTAudioPlayerDelegate
{
public:
    explicit DocumentTransport(SoundDocument& document);
    /// Stops.
    ~DocumentTransport();
    DocumentTransport(const DocumentTransport&) = delete;
    DocumentTransport& operator=(const DocumentTransport&) = delete;

    /// Plays the selection's tracks from `cueTime` to the selection's end, or moves the cue of what is played
    /// already. Does nothing for an empty selection. Times are in seconds; the cue may lie outside of the
    /// selection.
    MaybeError playSelection(const SoundSelection& selection, double cueTime);
    /// Ends a recording, too.
    void stopSound();
    /// Does nothing: who pauses stops, and plays from where that was.
    void pause() {}
    bool isPaused() const;
    bool isPlaying() const { return mPlayer && mPlayer->isRunning(); }

    /// The time that is heard or recorded; -1 while neither is so.
    double cueTime() const;
    /// The same, but where the cue was just moved the time that will be heard next: what is still on its way
    /// to the ear from before would make a cue on the screen jump back.
    double nextCueTime() const;
    /// Document frame where the present run began.
    int64_t audioPlaybackRecordingCueStart() const { return mCueStart; }
    void setAudioPlaybackRecordingCueStart(int64_t frame) { mCueStart = frame; }

    bool audioPlaybackLoops() const { return mLoops; }
    /// Loop mode, from now on and for what is played at the moment, whose loop becomes frames
    /// loopStart .. loopEnd when they are given.
    void setAudioPlaybackLoops(bool loops, std::optional<int64_t> loopStart = {},
                               std::optional<int64_t> loopEnd = {});

    /// 1 is normal; at constant pitch.
    double audioPlaybackSpeed() const { return mSpeed; }
    void setPlaybackSpeed(double speed);

    /// Whether each player keeps what it renders, from its first frame on (see VLRTAudioPlayer).
    void keepRendered(bool isWanted);

    /// What plays goes on, on the device that is selected now.
    MaybeError moveToSelectedDevice();
    /// What plays goes on with the tracks as they are now, from the frame being heard; it ends when the rate
    /// is another one.
    void documentDidChange();

    /// Null when nothing plays.
    VLRTAudioPlayer* audioPlayback() const { return mPlayer.get(); }
    DocumentSource* audioPlaybackSource() const { return mSource.get(); }
    /// Whether what played last came to its end by itself.
    bool hasReachedEnd() const { return mHasReachedEnd; }
    /// Why it stopped last.
    StopReason stopReason() const { return mStopReason; }

private:
    PlaybackBlock audioDataForAudioPlayback(VLRTAudioPlayer& player, int64_t numFrames) override;
    void audioPlaybackDidStop(VLRTAudioPlayer& player) override;
    void moveCue(int64_t frame);
    MaybeError startPlaying(const SoundSelection& selection, int64_t frame);
    MaybeError startPlayer();
    void tellDidChange() const;

    SoundDocument& mDocument;
    std::unique_ptr<DocumentSource> mSource;
    /// Of the fill queue.
    SampleBlock mScratch;
    std::unique_ptr<VLRTAudioPlayer> mPlayer;
    int64_t mCueStart = 0;
    bool mLoops = false;
    double mSpeed = 1.0;
    bool mKeepsRendered = false;
    bool mHasReachedEnd = false;
    StopReason mStopReason = StopReason::requested;
};

} // namespace velloria
