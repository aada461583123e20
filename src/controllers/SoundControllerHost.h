#pragma once

#include "Classes/CoreAudio/VLRTAudioPlayer.h"
#include "platform/Alerts.h"
#include "platform/Progress.h"

#include <QString>
#include <cstdint>
#include <memory>

namespace velloria
{

class WaveformViewGeometry;
struct EffectRemark;
struct LoudnessReading;

/// What makes the result of a command less than its person may think.
enum class PartialResult {
    mixdownCancelled,    ///< the sound ends where the work stood
    resamplingCancelled, ///< likewise
    pasteCancelled,      ///< likewise, of what was pasted or mixed in
    fewerTracksPasted,   ///< fewer were copied than are selected; they went to the first ones
    tracksNotPasted,     ///< more were copied than the document has from the selection on
};

/// What a command needs of the window (or the terminal) that runs it.
class CommandHost
{
public:
    virtual ~CommandHost() = default;

    virtual Alerts& alerts() = 0;

    /// A progress face for one long operation; it goes away with the object.
    virtual std::unique_ptr<Progress> beginProgress(const QString& title) = 0;

    /// A file that a command saves is complete and takes its place next. What the person was told to be lost
    /// by it is lost from here on.
    virtual void willReplaceFile() {}

    /// The step that a command just made stays, but is worth a word and an offer to take it back.
    virtual void resultIsPartial(PartialResult) {}
    /// An effect did less than was asked, or nothing at all.
    virtual void effectDidRemark(const QString& /*name*/, const EffectRemark&) {}
};

/// What is told to whoever shows the document. Nothing of it has to be answered.
class DisplayHost
{
public:
    virtual ~DisplayHost() = default;

    virtual void selectionDidChange() {}
    virtual void cueDidChange() {}
    /// Tracks, length or rate changed: lay out and draw anew.
    virtual void documentDidReload() {}
    /// Something is being recorded and the document has become longer.
    virtual void documentDidGrow() {}
    virtual void markersDidChange() {}
    /// The summary of a range of frames was filled in: draw it anew.
    virtual void setNeedsDisplayWithFrameOffset(int64_t, int64_t) {}
    /// Bring the selection's start into view.
    virtual void revealSelection() {}
    /// Keep the view within the document after it became shorter.
    virtual void constrainRevealed() {}

    /// Where the main waveform view is; null without one.
    virtual WaveformViewGeometry* mainView() { return nullptr; }
};

/// What is told about playing and recording.
class PlaybackHost
{
public:
    virtual ~PlaybackHost() = default;

    /// Playing or recording began or ended, or loop mode or speed changed: show the buttons anew.
    virtual void transportDidChange() {}
    /// In dB, -100 where nothing plays.
    virtual void outputLevelsDidChange(double /*leftDB*/, double /*rightDB*/) {}
    /// Ten times a second while something plays and its loudness is wanted, and when it begins and ends.
    virtual void outputLoudnessDidChange(const LoudnessReading&) {}
    virtual void playbackVolumeDidChange() {}
    /// Playing could not begin. Said without a question: the person may be at work elsewhere.
    virtual void playbackFailed(const QString& /*message*/) {}
    /// Device or server went away while something played; the cue stands where that was.
    virtual void playbackWasInterrupted(StopReason /*reason*/) {}
    /// Recording could not begin, or ended although nobody asked for it; what was recorded is kept.
    virtual void recordingFailed(const QString& /*message*/) {}
};

/// What a window (or the command line) lends to its controller. Main thread; outlives the controller.
class SoundControllerHost : public CommandHost, public DisplayHost, public PlaybackHost
{
};

} // namespace velloria
