#pragma once

#include "controllers/CueFollower.h"
#include "controllers/OutputDeviceWatch.h"
#include "controllers/RecentDocuments.h"
#include "display/SampleCloseUp.h"
#include "display/VLWaveformCacheRenderer.h"
#include "document/ClipboardClip.h"
#include "document/DocumentController.h"
#include "document/SoundDocument.h"
#include "effects/EffectRegistry.h"
#include "effects/Filter.h"
#include "platform/Alerts.h"
#include "platform/Progress.h"

#include <QTimer>
#include <functional>
#include <memory>
#include <vector>

namespace velloria
{

class VLRTAudioRecordingDelegate;
class WaveformViewGeometry;

/// What a window (or the command line) lends to its controller. Main thread; outlives the controller.
class SoundControllerHost
{
public:
    virtual ~SoundControllerHost() = default;

    virtual Alerts& alerts() = 0;

    /// A progress face for one long operation; it goes away with the object.
    virtual std::unique_ptr<Progress> beginProgress(const QString& title) = 0;

    virtual void selectionDidChange() {}
    virtual void cueDidChange() {}
    /// Tracks, length or rate changed: lay out and draw anew.
    virtual void documentDidReload() {}
    virtual void markersDidChange() {}
    /// The summary of a range of frames was filled in: draw it anew.
    virtual void setNeedsDisplayWithFrameOffset(int64_t, int64_t) {}
    /// Bring the selection's start into view.
    virtual void revealSelection() {}
    /// Keep the view within the document after it became shorter.
    virtual void constrainRevealed() {}

    /// Where the main waveform view is; null without one.
    virtual WaveformViewGeometry* mainView() { return nullptr; }
    /// Playing or recording began or ended, or loop mode or speed changed: show the buttons anew.
    virtual void transportDidChange() {}
    /// In dB, -100 where nothing plays.
    virtual void outputLevelsDidChange(double /*leftDB*/, double /*rightDB*/) {}
    virtual void playbackVolumeDidChange() {}
    /// Playing could not begin. Said without a question: the person may be at work elsewhere.
    virtual void playbackFailed(const QString& /*message*/) {}
    /// Device or server went away while something played; the cue stands where that was.
    virtual void playbackWasInterrupted(StopReason /*reason*/) {}
    /// Something is being recorded and the document has become longer.
    virtual void documentDidGrow() {}
    /// Recording could not begin, or ended although nobody asked for it; what was recorded is kept.
    virtual void recordingFailed(const QString& /*message*/) {}
};

/// Frames start .. end - 1.
struct FrameRange {
    int64_t start = 0;
    int64_t end = 0;
    int64_t length() const { return end - start; }
};

/// The face of one document's window without the window: selection and cue, the edit commands, effects, and
/// what the views ask. Every command is one undo step. Main thread.
class SoundController : public DocumentController,
                        public FilterDelegate,
                        public VLWaveformCacheRendererDelegate
{
public:
    SoundController(std::shared_ptr<SoundDocument> document, SoundControllerHost& host);
    ~SoundController() override;

    SoundDocument& document() { return *mDocument; }
    const SoundDocument& document() const { return *mDocument; }
    const std::shared_ptr<SoundDocument>& sharedDocument() const { return mDocument; }
    SoundControllerHost& host() { return mHost; }

    // Selection and cue, in seconds.
    const SoundSelection& selection() const { return mSelection; }
    /// Start not after end, within the document and its tracks.
    SoundSelection normalizedSelection() const;
    bool isSelectionEmpty() const;
    void setSelection(const SoundSelection& selection);
    void selectAll();
    void selectNone();
    /// From the start of the document to the selection's end, and from its start to the document's end; with
    /// nothing selected, to and from the cue.
    void selectToStart();
    void selectToEnd();
    double cueTime() const { return mCueTime; }
    /// While the document plays, it goes on from there.
    void setCueTime(double seconds);
    /// Everything, when the selection is empty; else the selection.
    SoundSelection selectionOrAll() const;

    // Edit commands. `actionName` names the undo step (the menu item's title). All but copy() and paste() do
    // nothing when the selection is empty.
    void copy();
    void cut(const QString& actionName);
    /// Sound of another rate is converted on the way, with progress; cancelled, what was converted until then
    /// is pasted. False when there is nothing on the clipboard or the conversion fails; `error` says why.
    bool paste(const QString& actionName, MaybeError* error);
    /// At the selection's start, on its tracks; the silence is selected then.
    MaybeError insertSilence(double seconds, const QString& actionName);
    void deleteSelection(const QString& actionName);
    void clear(const QString& actionName);
    void crop(const QString& actionName);
    void undo();
    void redo();
    bool canPaste() const;
    /// Puts a range of any document on the application clipboard, and the listing of its markers on the
    /// pasteboard.
    static void copyFrom(const SoundDocument& document, const SoundSelection& selection);
    /// What copyFrom() puts there: one line a marker in `markerListing`.
    static std::shared_ptr<ClipboardClip>
    clipWithSelection(const SoundDocument& document, const SoundSelection& selection, QString* markerListing);
    double nearestZeroCrossingWithin(double halfWidth, double time, int32_t track) const;

    /// The sound of another file, opened once and kept for the next time; null with `error` filled.
    std::shared_ptr<SoundDocument> documentForCopyingFrom(const std::filesystem::path& path,
                                                          MaybeError* error);

    /// What is wrong with making the document longer by so much, if anything.
    MaybeError checkRoomFor(double seconds) const;
    /// The clip's tracks at the document's rate, with a progress face where they must be converted.
    std::vector<AudioTrackPtr> tracksOfClip(const ClipboardClip& clip, int32_t numTracks,
                                            const QString& title, MaybeError* error);

    // Tracks and format. An error leaves the document as it was; what was done until the person cancelled
    // stays.
    MaybeError mixdown(int numChannels, const QString& actionName);
    /// Without a duration the sound lasts as long as before.
    MaybeError resample(double sampleRate, std::optional<double> totalTime, const QString& actionName);
    /// Rate and bits as they stand in the file: another rate plays the same samples faster or slower.
    MaybeError setProperties(double sampleRate, int64_t sampleSize, const QString& actionName);
    void addTrack(const QString& actionName);
    /// All but one, when all are selected.
    void removeSelectedTracks(const QString& actionName);

    // Markers. Those of one marker (setName, setPosition, removeAudioMarker) are the document's.
    /// One marker at an empty selection, else one at its start and one at its end; while something plays, one
    /// at what is heard.
    MaybeError insertMarker();
    MaybeError addCueMarker(double time);
    void deleteAllMarkers(const QString& actionName);
    /// Before every passage that is loud after at least 1.9 seconds of quiet.
    MaybeError insertMarkersInGaps(const QString& actionName);
    /// At every grid line (seconds) of the document; an error for a grid of 0 or of too many lines.
    MaybeError insertMarkersAtGridlines(double offset, double spacing, const QString& actionName);
    /// Adds them as one step, unless the document would have too many then.
    MaybeError addMarkers(const std::vector<AudioMarkerPtr>& markers, const QString& actionName);

    // Effects.
    /// Gives the effect a source over the selection (everything, when it is empty; the selection then
    /// follows) and this controller as delegate.
    void setUpFilter(Filter& filter);
    /// Applies an effect that was set up, as one step named after it, and keeps it as the last filter.
    /// Nothing is answered when the person cancelled it, as Filter::apply() does.
    MaybeError applyFilter(const std::shared_ptr<Filter>& filter);
    /// The same without keeping it.
    MaybeError runFilter(Filter& filter);
    /// Passed on to the effects run from now on, and to resample(); see Filter.
    void setMostScratchBytes(int64_t numBytes) { mMostScratchBytes = numBytes; }
    /// The application-wide last filter, or null.
    static std::shared_ptr<Filter> lastFilter();
    MaybeError applyLastFilter();

    // Transport (SoundControllerTransport.cpp). With a window the cue moves 60 times a second while something
    // plays, and the main view follows it.
    bool isPlaying() const;
    bool isRecording() const;
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
    /// A person scrolled: the view does not follow the cue any more.
    void didScrollHorizontally();

    // Recording (SoundControllerRecording.cpp). The input meters run meanwhile. What fails the host is told.
    /// Begins one, or goes on with one whose device stands still.
    void record();
    void recordOrStop();
    /// In place of the selection, on the pair of tracks that it begins in.
    void beginRecording();
    /// Appends to the first tracks; each block goes to the delegate, if there is one.
    MaybeError recordAtEnd(VLRTAudioRecordingDelegate* delegate);
    /// The preference; whether the waveform is drawn as it comes.
    static bool updatesWaveformDuringRecording();

    // Saving.
    /// Says what writing so would lose and asks whether to go on; then writes, with a progress face. The
    /// error of a refusal isUserCancelled().
    MaybeError save(const SaveRequest& request);

    // What the views ask.
    /// (min, max) pairs, one a column of `stride` seconds; nothing outside the document. Columns finer than
    /// the summaries show the samples themselves; those are read in the background, and until they are there
    /// (the host's setNeedsDisplayWithFrameOffset() tells) the summaries stand for them.
    FloatBuffer minMaxDataFrom(double startTime, double endTime, double stride, int32_t track) const;

    /// Scans the opened file for the summary in the background, if it has none yet.
    void startWaveformRender();
    void stopWaveformRender();
    /// From 0 to 1; 1 when no scan runs.
    double waveformRenderProgress() const;

    // DocumentController
    void setNumTracks(int32_t numTracks) override;
    void reload() override;
    void markersDidChange() override;
    std::optional<SoundSelection> selectionForUndo() const override { return mSelection; }
    void restoreSelection(const SoundSelection& selection) override;
    void transportDidChange() override { updateTransportButtons(); }
    void playbackDidStop() override;
    void recordingDidStop() override;

    // FilterDelegate
    void filterDidReachProgress(Filter& filter, double progress) override;
    bool filterShouldCancel(Filter& filter) override;
    void filterDidFinishProgress(Filter& filter) override;
    void filterDidInsertData(Filter& filter, int64_t offset, int64_t length, int32_t firstTrack,
                             int32_t numTracks) override;

    // VLWaveformCacheRendererDelegate
    void rendererDidUpdate(VLWaveformCacheRenderer& renderer, int64_t offset, int64_t length) override;

private:
    SoundSelection everything() const;
    /// What the tracks hold of a selection's frames.
    static FrameRange framesOfSelection(const SoundDocument& document, const SoundSelection& selection);
    void replaceSelection(const SoundSelection& selection, const AudioClipPtr& clip);
    /// What is wrong with so many more markers, if anything.
    MaybeError checkMarkerCount(int64_t numAdded) const;
    bool completeWaveform();
    std::vector<float> peaks(double secondsPerBin) const;
    void installPasted(const ClipboardClip& clip, const std::vector<AudioTrackPtr>& tracks);
    void pasteMarkers(const ClipboardClip& clip, const FrameRange& replaced, int64_t numFrames);
    SampleCloseUp& closeUpOfTrack(int32_t track) const;
    void showCueTime(double seconds);
    MaybeError startRecorder(const SoundSelection& range, VLRTAudioRecordingDelegate* delegate);
    void recordingDidTick(double timeBefore);
    double transportTime() const;
    SoundSelection selectionToPlay(double& time) const;
    void moveCueWhilePlaying(double time);
    void skip(double seconds);
    void scrollView(double seconds);
    void startCueTimers();
    void stopCueTimers();
    void cueMainTimerFire();
    void outputDeviceDidChange();

    std::shared_ptr<SoundDocument> mDocument;
    SoundControllerHost& mHost;
    SoundSelection mSelection;
    double mCueTime = 0;
    int32_t mNumTracks = 0;
    std::unique_ptr<Progress> mFilterProgress;
    int64_t mMostScratchBytes = INT64_MAX;
    RecentDocuments mRecentDocuments;
    mutable std::vector<std::unique_ptr<SampleCloseUp>> mCloseUps;
    std::unique_ptr<VLWaveformCacheRenderer> mRenderer;

    // Transport
    QTimer mCueMainTimer;
    CueFollower mCueFollower;
    std::unique_ptr<OutputDeviceWatch> mDeviceWatch; ///< while something plays
    NotificationCenter::Token mVolumeToken = 0;
    bool mCueReturnsToStart = false;
    bool mMetersWereActive = false; ///< before the recording
    bool mWasStopped = false;       ///< by a person, not by the end of the sound
    bool mIsScrolling = false;      ///< by this, not by a person
    double mPlayedEnd = 0.0;
    double mSeenZoom = 0.0;
    double mSeenScrollPosition = 0.0;
};

} // namespace velloria
