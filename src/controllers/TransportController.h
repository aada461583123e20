#pragma once

#include "controllers/CueTimer.h"
#include "controllers/OutputDeviceWatch.h"
#include "controllers/PlaybackLoudness.h"
#include "controllers/SelectionModel.h"

#include <memory>

namespace velloria
{

/// Plays a document: every command of the transport, without a widget. With a window the cue moves 60 times
/// a second while something plays, and the main view follows it. Recording is RecordingController's, but
/// what ends playing ends it, too. Main thread.
class TransportController
{
public:
    TransportController(SoundDocument& document, SelectionModel& selection, SoundControllerHost& host);
    ~TransportController();
    TransportController(const TransportController&) = delete;
    TransportController& operator=(const TransportController&) = delete;

    bool isPlaying() const;
    /// From the cue, or goes on where playing is about to end; replays a selection whose end the cue has
    /// reached.
    void play();
    void playOrStop();
    void stopPlayback() { stopAudio(); }
    void stopAudio();
    void cancelOperation() { stopPlayback(); }
    /// From a time to the selection's end, or, where that makes no sense, to the document's. Moves what plays
    /// already.
    void playFromTime(double time);
    /// The keys of the transport: whether the cue goes back to the selection's start when playing ends.
    void playReturning();
    void playOrStopReturning();
    void playStaying();

    double cueTime() const { return mSelection.cueTime(); }
    /// While the document plays, it goes on from there.
    void setCueTime(double seconds);
    /// What is heard or recorded, or, where it was just moved, will be.
    double transportTime() const;
    void returnToZero();
    /// By a second; without a player only the view moves.
    void rewind();
    void fastForward();

    void loop();
    bool isLooping() const;
    double playbackSpeed() const;
    /// In percent; what is next to nothing is ignored.
    void playbackSpeed(int percent);
    void speedUpPlayback();
    void slowDownPlayback();
    /// In dB; from one side of 0 to the other only by way of 0.
    void takeOutputGainValueFrom(double decibels);
    static double outputGain();

    void updateTransportButtons();
    void updateOutputLevelMeters();
    /// Whether the loudness of what plays is measured. Switched on while something plays, it counts from
    /// then.
    void measureLoudness(bool isWanted);
    /// The measurement begins anew; each start of playing does that, too.
    void resetLoudness();
    const LoudnessReading& loudness() const { return mLoudness.reading(); }
    /// A person scrolled: the view does not follow the cue any more.
    void didScrollHorizontally() { mCueTimer.didScrollHorizontally(); }
    CueTimer& cueTimer() { return mCueTimer; }

    /// A recording begins: when it ends, the cue stays there.
    void recordingWillStart();
    /// The device stands still again.
    void playbackDidStop();

private:
    SoundSelection selectionToPlay(double& time) const;
    void moveCueWhilePlaying(double time);
    void skip(double seconds);
    void scrollView(double seconds);
    void outputDeviceDidChange();
    void updateLoudness();

    SoundDocument& mDocument;
    SelectionModel& mSelection;
    SoundControllerHost& mHost;
    CueTimer mCueTimer;
    PlaybackLoudness mLoudness;
    bool mMeasuresLoudness = false;
    std::unique_ptr<OutputDeviceWatch> mDeviceWatch; ///< while something plays
    NotificationCenter::Token mVolumeToken = 0;
    bool mCueReturnsToStart = false;
    bool mWasStopped = false; ///< by a person, not by the end of the sound
    double mPlayedEnd = 0.0;
};

} // namespace velloria
