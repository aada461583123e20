#include "controllers/TransportController.h"

#include "Classes/CoreAudio/AudioPreferences.h"
#include "display/WaveformViewGeometry.h"
#include "document/DocumentRecording.h"
#include "document/DocumentTransport.h"
#include "platform/UserDefaults.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kNearSeconds = 0.02;
constexpr double kSkipSeconds = 1.0;
constexpr double kSpeedStep = 0.25;
constexpr double kMinSpeed = 0.5;
constexpr double kMaxSpeed = 2.0;
constexpr double kLowestSpeedAsked = 0.001;
constexpr double kNoLevelDB = -100.0;

double decibels(float peak)
{
    return peak > 0.0F ? std::max(kNoLevelDB, 20.0 * std::log10(static_cast<double>(peak))) : kNoLevelDB;
}

} // namespace

TransportController::TransportController(SoundDocument& document, SelectionModel& selection,
                                         SoundControllerHost& host)
    : mDocument(document)
    , mSelection(selection)
    , mHost(host)
    , mCueTimer(document, selection, host)
{
    mCueTimer.setPlayingHandler([this] { updateOutputLevelMeters(); });
    mVolumeToken =
        NotificationCenter::standard().addObserver(AudioNotification::playbackVolumeDidChange(),
                                                   [this](const void*) { mHost.playbackVolumeDidChange(); });
}

TransportController::~TransportController()
{
    NotificationCenter::standard().removeObserver(mVolumeToken);
}

bool TransportController::isPlaying() const
{
    return mDocument.transport().isPlaying();
}

double TransportController::transportTime() const
{
    return mDocument.transport().nextCueTime();
}

void TransportController::play()
{
    // One that plays out its last frames begins anew.
    const bool isEnding = mDocument.transport().isPaused();
    if (!isPlaying())
        playFromTime(isEnding && mCueReturnsToStart ? mSelection.normalizedSelection().startTime
                                                    : mSelection.cueTime());
    updateTransportButtons();
}

void TransportController::playOrStop()
{
    if (isPlaying())
        stopPlayback();
    else
        play();
}

void TransportController::stopAudio()
{
    mWasStopped = true;
    mDocument.transport().stopSound();
    updateTransportButtons();
}

void TransportController::playReturning()
{
    mCueReturnsToStart = true;
    if (mDocument.recording().isInProgress() || isPlaying())
        stopAudio();
    else
        play();
}

void TransportController::playOrStopReturning()
{
    mCueReturnsToStart = true;
    playOrStop();
}

void TransportController::playStaying()
{
    mCueReturnsToStart = false;
    if (isPlaying())
        stopAudio();
    else
        play();
}

SoundSelection TransportController::selectionToPlay(double& time) const
{
    SoundSelection played = mSelection.normalizedSelection();
    const double start = played.startTime;
    const double end = played.endTime;
    const double total = mDocument.totalTime();
    const bool isAcceptable = start != end && time <= end + kNearSeconds && (isLooping() || time >= start);
    if (!isAcceptable) {
        played.startTime = 0.0;
        played.endTime = total;
    }
    if (start != end && std::abs(time - end) < kNearSeconds)
        time = start;
    if (start == end && time >= total - kNearSeconds)
        time = 0.0;
    return played;
}

void TransportController::playFromTime(double time)
{
    if (mDocument.recording().isInProgress() || mDocument.numberOfFrames() < 1)
        return;
    const SoundSelection played = selectionToPlay(time);
    if (!isPlaying())
        mPlayedEnd = played.endTime;
    mWasStopped = false;
    if (!isPlaying())
        mLoudness.begin(mDocument.sampleRate(), played.numTracks == 1);
    if (const MaybeError error = mDocument.transport().playSelection(played, time))
        mHost.playbackFailed(error->message);
}

void TransportController::setCueTime(double seconds)
{
    if (isPlaying())
        moveCueWhilePlaying(clampedTime(seconds, mDocument.totalTime()));
    else
        mSelection.showCueTime(seconds);
}

void TransportController::moveCueWhilePlaying(double time)
{
    // What plays a selection goes on to the document's end when the cue is put behind that selection.
    DocumentSource& source = *mDocument.transport().audioPlaybackSource();
    if (frameAtTime(time, mDocument.sampleRate()) >= source.loopEnd()) {
        source.setLoopStart(0);
        source.setLoopEnd(mDocument.numberOfFrames());
        mPlayedEnd = mDocument.totalTime();
    }
    playFromTime(time);
}

void TransportController::returnToZero()
{
    SoundSelection selection = mSelection.normalizedSelection();
    selection.startTime = 0.0;
    selection.endTime = 0.0;
    mSelection.setSelection(selection);
    setCueTime(0.0);
    mCueTimer.scroll([](WaveformViewGeometry& view) { view.setScrollPosition(-view.margin()); });
}

void TransportController::rewind()
{
    skip(-kSkipSeconds);
}

void TransportController::fastForward()
{
    skip(kSkipSeconds);
}

void TransportController::skip(double seconds)
{
    const double now = transportTime();
    const double target = std::max(now + seconds, 0.0);
    if (!mDocument.transport().audioPlayback()) {
        scrollView(seconds);
        return;
    }
    if (seconds > 0.0 && target >= mDocument.totalTime())
        return;
    playFromTime(target);
    const WaveformViewGeometry* const view = mHost.mainView();
    const auto isLeft = [view](double time) { return time < view->revealedStartTime(); };
    const auto isRight = [view](double time) { return time > view->revealedEndTime(); };
    if (view && !isLeft(now) && !isRight(now) && (seconds < 0.0 ? isLeft(target) : isRight(target)))
        scrollView(seconds);
}

void TransportController::scrollView(double seconds)
{
    mCueTimer.scroll(
        [seconds](WaveformViewGeometry& view) { view.scrollByPixels(view.pixelsFromSeconds(seconds)); });
}

bool TransportController::isLooping() const
{
    return mDocument.transport().audioPlaybackLoops();
}

void TransportController::loop()
{
    DocumentTransport& transport = mDocument.transport();
    const bool loops = !transport.audioPlaybackLoops();
    const SoundSelection range = loops ? mSelection.normalizedSelection() : mSelection.everything();
    const double rate = mDocument.sampleRate();
    std::optional<int64_t> start;
    std::optional<int64_t> end;
    if (range.endTime > transport.cueTime() && range.endTime > range.startTime) {
        // Cut off, not rounded.
        start = static_cast<int64_t>(range.startTime * rate);
        end = static_cast<int64_t>(range.endTime * rate);
        mPlayedEnd = range.endTime;
    }
    transport.setAudioPlaybackLoops(loops, start, end);
    mHost.transportDidChange();
}

double TransportController::playbackSpeed() const
{
    return mDocument.transport().audioPlaybackSpeed();
}

void TransportController::playbackSpeed(int percent)
{
    const double speed = percent / 100.0;
    if (speed <= kLowestSpeedAsked)
        return;
    mDocument.transport().setPlaybackSpeed(speed);
    mHost.transportDidChange();
}

void TransportController::speedUpPlayback()
{
    mDocument.transport().setPlaybackSpeed(std::min(playbackSpeed() + kSpeedStep, kMaxSpeed));
    mHost.transportDidChange();
}

void TransportController::slowDownPlayback()
{
    mDocument.transport().setPlaybackSpeed(std::max(playbackSpeed() - kSpeedStep, kMinSpeed));
    mHost.transportDidChange();
}

double TransportController::outputGain()
{
    return UserDefaults::standard().doubleValue(AudioPreference::playbackVolume());
}

void TransportController::takeOutputGainValueFrom(double decibelsAsked)
{
    const double stored = outputGain();
    double value = decibelsAsked;
    if (value > 0.0 && stored < 0.0)
        value = 0.0;
    if (stored > 0.0)
        value = std::max(value, 0.0);
    UserDefaults::standard().setValue(AudioPreference::playbackVolume(), value);
    NotificationCenter::standard().post(AudioNotification::playbackVolumeDidChange());
}

void TransportController::updateTransportButtons()
{
    if (isPlaying() || mDocument.recording().isInProgress()) {
        mCueTimer.startCueTimers();
        if (!mDeviceWatch)
            mDeviceWatch = std::make_unique<OutputDeviceWatch>([this] { outputDeviceDidChange(); });
    } else {
        mCueTimer.stopCueTimers();
        mDeviceWatch.reset();
    }
    mHost.transportDidChange();
}

void TransportController::updateOutputLevelMeters()
{
    VLRTAudioPlayer* const player = mDocument.transport().audioPlayback();
    if (!player) {
        mHost.outputLevelsDidChange(kNoLevelDB, kNoLevelDB);
        return;
    }
    // The tick comes more often than the device asks: one in between says nothing about the level, and a
    // steady tone would flicker.
    if (const std::optional<PeakHolder::Peaks> peaks = player->takePeaks())
        mHost.outputLevelsDidChange(decibels(peaks->leftPeak), decibels(peaks->rightPeak));
    updateLoudness();
}

void TransportController::updateLoudness()
{
    VLRTAudioPlayer* const player = mDocument.transport().audioPlayback();
    if (mMeasuresLoudness && player && mLoudness.addFrames(player->takeRendered()))
        mHost.outputLoudnessDidChange(mLoudness.reading());
}

void TransportController::measureLoudness(bool isWanted)
{
    if (isWanted == mMeasuresLoudness)
        return;
    mMeasuresLoudness = isWanted;
    mDocument.transport().keepRendered(isWanted);
    resetLoudness();
}

void TransportController::resetLoudness()
{
    // What was rendered until now belongs to what is forgotten.
    if (VLRTAudioPlayer* const player = mDocument.transport().audioPlayback())
        player->takeRendered();
    mLoudness.reset();
    mHost.outputLoudnessDidChange(mLoudness.reading());
}

void TransportController::recordingWillStart()
{
    mWasStopped = true;
    mCueReturnsToStart = false;
}

void TransportController::playbackDidStop()
{
    updateTransportButtons();
    mHost.outputLevelsDidChange(kNoLevelDB, kNoLevelDB);
    mLoudness.end();
    mHost.outputLoudnessDidChange(mLoudness.reading());
    const StopReason reason = mDocument.transport().stopReason();
    const bool wasInterrupted = reason != StopReason::requested;
    if (mDocument.transport().hasReachedEnd() && !mWasStopped)
        mSelection.showCueTime(mPlayedEnd);
    if (!wasInterrupted && mCueReturnsToStart) {
        mSelection.showCueTime(mSelection.normalizedSelection().startTime);
    } else if (mSelection.isEmpty()) {
        SoundSelection selection = mSelection.normalizedSelection();
        selection.startTime = mSelection.cueTime();
        selection.endTime = mSelection.cueTime();
        mSelection.setSelection(selection);
    }
    if (wasInterrupted)
        mHost.playbackWasInterrupted(reason);
}

void TransportController::outputDeviceDidChange()
{
    if (!isPlaying())
        return;
    const uint32_t present = mDocument.transport().audioPlayback()->core().device();
    const uint32_t selected = VLRTAudioPlayer::selectedOutputDevice();
    // A device that is gone ends the stream by itself: sound must not burst out of another one unasked.
    if (selected == 0 || selected == present || !AudioHardware::current().state().deviceWithID(present))
        return;
    if (const MaybeError error = mDocument.transport().moveToSelectedDevice()) {
        updateOutputLevelMeters();
        mHost.playbackFailed(error->message);
    }
}

} // namespace velloria
