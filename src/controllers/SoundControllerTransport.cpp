#include "Classes/CoreAudio/AudioPreferences.h"
#include "controllers/SoundController.h"
#include "display/WaveformViewGeometry.h"
#include "document/DocumentTransport.h"
#include "platform/UserDefaults.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kCueMilliseconds = 16;          ///< 60 times a second
constexpr int kRecordingCueMilliseconds = 33; ///< 30 times a second
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

bool SoundController::isPlaying() const
{
    return mDocument->transport().isPlaying();
}

double SoundController::transportTime() const
{
    const DocumentTransport& transport = mDocument->transport();
    const double time = transport.cueTime();
    const VLRTAudioPlayer* const player = transport.audioPlayback();
    if (!player || (time >= 0.0 && !player->core().isMoveUnheard()))
        return time;
    // Nothing is heard yet of where it goes on: two steps back are two, however quickly they are asked for.
    return static_cast<double>(transport.audioPlaybackRecordingCueStart()) / mDocument->sampleRate();
}

void SoundController::play()
{
    // One that plays out its last frames begins anew.
    const bool isEnding = mDocument->transport().isPaused();
    if (!isPlaying())
        playFromTime(isEnding && mCueReturnsToStart ? normalizedSelection().startTime : mCueTime);
    updateTransportButtons();
}

void SoundController::playOrStop()
{
    if (isPlaying())
        stopPlayback();
    else
        play();
}

void SoundController::stopAudio()
{
    mWasStopped = true;
    mDocument->transport().stopSound();
    updateTransportButtons();
}

void SoundController::playReturning()
{
    mCueReturnsToStart = true;
    if (isRecording() || isPlaying())
        stopAudio();
    else
        play();
}

void SoundController::playOrStopReturning()
{
    mCueReturnsToStart = true;
    playOrStop();
}

void SoundController::playStaying()
{
    mCueReturnsToStart = false;
    if (isPlaying())
        stopAudio();
    else
        play();
}

/// What is to be played from a time on, which is moved where it lies at an end.
SoundSelection SoundController::selectionToPlay(double& time) const
{
    SoundSelection played = normalizedSelection();
    const double start = played.startTime;
    const double end = played.endTime;
    const double total = mDocument->totalTime();
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

void SoundController::playFromTime(double time)
{
    if (isRecording() || mDocument->numberOfFrames() < 1)
        return;
    const SoundSelection played = selectionToPlay(time);
    if (!isPlaying())
        mPlayedEnd = played.endTime;
    mWasStopped = false;
    if (const MaybeError error = mDocument->transport().playSelection(played, time))
        mHost.playbackFailed(error->message);
}

void SoundController::moveCueWhilePlaying(double time)
{
    // What plays a selection goes on to the document's end when the cue is put behind that selection.
    DocumentSource& source = *mDocument->transport().audioPlaybackSource();
    if (frameAtTime(time, mDocument->sampleRate()) >= source.loopEnd()) {
        source.setLoopStart(0);
        source.setLoopEnd(mDocument->numberOfFrames());
        mPlayedEnd = mDocument->totalTime();
    }
    playFromTime(time);
}

void SoundController::returnToZero()
{
    SoundSelection selection = normalizedSelection();
    selection.startTime = 0.0;
    selection.endTime = 0.0;
    setSelection(selection);
    setCueTime(0.0);
    if (WaveformViewGeometry* const view = mHost.mainView()) {
        mIsScrolling = true;
        view->setScrollPosition(-view->margin());
        mIsScrolling = false;
    }
}

void SoundController::rewind()
{
    skip(-kSkipSeconds);
}

void SoundController::fastForward()
{
    skip(kSkipSeconds);
}

void SoundController::skip(double seconds)
{
    const double now = transportTime();
    const double target = std::max(now + seconds, 0.0);
    if (!mDocument->transport().audioPlayback()) {
        scrollView(seconds);
        return;
    }
    if (seconds > 0.0 && target >= mDocument->totalTime())
        return;
    playFromTime(target);
    const WaveformViewGeometry* const view = mHost.mainView();
    const auto isLeft = [view](double time) { return time < view->revealedStartTime(); };
    const auto isRight = [view](double time) { return time > view->revealedEndTime(); };
    if (view && !isLeft(now) && !isRight(now) && (seconds < 0.0 ? isLeft(target) : isRight(target)))
        scrollView(seconds);
}

void SoundController::scrollView(double seconds)
{
    WaveformViewGeometry* const view = mHost.mainView();
    if (!view)
        return;
    mIsScrolling = true;
    view->scrollByPixels(view->pixelsFromSeconds(seconds));
    mIsScrolling = false;
}

bool SoundController::isLooping() const
{
    return mDocument->transport().audioPlaybackLoops();
}

void SoundController::loop()
{
    DocumentTransport& transport = mDocument->transport();
    const bool loops = !transport.audioPlaybackLoops();
    const SoundSelection range = loops ? normalizedSelection() : everything();
    const double rate = mDocument->sampleRate();
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

double SoundController::playbackSpeed() const
{
    return mDocument->transport().audioPlaybackSpeed();
}

void SoundController::playbackSpeed(int percent)
{
    const double speed = percent / 100.0;
    if (speed <= kLowestSpeedAsked)
        return;
    mDocument->transport().setPlaybackSpeed(speed);
    mHost.transportDidChange();
}

void SoundController::speedUpPlayback()
{
    mDocument->transport().setPlaybackSpeed(std::min(playbackSpeed() + kSpeedStep, kMaxSpeed));
    mHost.transportDidChange();
}

void SoundController::slowDownPlayback()
{
    mDocument->transport().setPlaybackSpeed(std::max(playbackSpeed() - kSpeedStep, kMinSpeed));
    mHost.transportDidChange();
}

double SoundController::outputGain()
{
    return UserDefaults::standard().doubleValue(AudioPreference::playbackVolume());
}

void SoundController::takeOutputGainValueFrom(double decibelsAsked)
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

void SoundController::updateTransportButtons()
{
    if (isPlaying() || isRecording())
        startCueTimers();
    else
        stopCueTimers();
    mHost.transportDidChange();
}

void SoundController::updateOutputLevelMeters()
{
    if (VLRTAudioPlayer* const player = mDocument->transport().audioPlayback())
        mHost.outputLevelsDidChange(decibels(player->leftPeak()), decibels(player->rightPeak()));
    else
        mHost.outputLevelsDidChange(kNoLevelDB, kNoLevelDB);
}

void SoundController::playbackDidStop()
{
    updateTransportButtons();
    mHost.outputLevelsDidChange(kNoLevelDB, kNoLevelDB);
    const StopReason reason = mDocument->transport().stopReason();
    const bool wasInterrupted = reason != StopReason::requested;
    if (!wasInterrupted && !mWasStopped)
        showCueTime(mPlayedEnd);
    if (!wasInterrupted && mCueReturnsToStart) {
        showCueTime(normalizedSelection().startTime);
    } else if (isSelectionEmpty()) {
        SoundSelection selection = normalizedSelection();
        selection.startTime = mCueTime;
        selection.endTime = mCueTime;
        setSelection(selection);
    }
    if (wasInterrupted)
        mHost.playbackWasInterrupted(reason);
}

void SoundController::startCueTimers()
{
    mCueFollower.start(isRecording());
    if (!mDeviceWatch)
        mDeviceWatch = std::make_unique<OutputDeviceWatch>([this] { outputDeviceDidChange(); });
    // Without a window nobody sees the cue.
    if (WaveformViewGeometry* const view = mHost.mainView()) {
        mSeenZoom = view->zoom();
        mSeenScrollPosition = view->scrollPosition();
        mCueMainTimer.start(isRecording() ? kRecordingCueMilliseconds : kCueMilliseconds);
    }
}

void SoundController::stopCueTimers()
{
    mCueMainTimer.stop();
    mDeviceWatch.reset();
}

void SoundController::cueMainTimerFire()
{
    const double now = mDocument->transport().cueTime();
    WaveformViewGeometry* const view = mHost.mainView();
    if (now < 0.0 || !view)
        return;
    if (isRecording()) {
        mDocument->recalculateNumFrames();
        mHost.documentDidGrow();
    }
    const double before = mCueTime;
    showCueTime(now);
    mIsScrolling = true;
    mCueFollower.follow(*view, before, mCueTime, isRecording());
    mIsScrolling = false;
    mSeenScrollPosition = view->scrollPosition();
    if (isRecording())
        recordingDidTick(before);
    else
        updateOutputLevelMeters();
}

void SoundController::didScrollHorizontally()
{
    const WaveformViewGeometry* const view = mHost.mainView();
    if (!view || !mCueMainTimer.isActive() || mIsScrolling)
        return;
    // A zoom scrolls too, and does not mean that the person wants to look elsewhere.
    if (view->zoom() == mSeenZoom && view->scrollPosition() != mSeenScrollPosition)
        mCueFollower.stop();
    mSeenZoom = view->zoom();
    mSeenScrollPosition = view->scrollPosition();
}

void SoundController::outputDeviceDidChange()
{
    if (!isPlaying())
        return;
    const uint32_t present = mDocument->transport().audioPlayback()->core().device();
    const uint32_t selected = VLRTAudioPlayer::selectedOutputDevice();
    // A device that is gone ends the stream by itself: sound must not burst out of another one unasked.
    if (selected == 0 || selected == present || !AudioHardware::current().state().deviceWithID(present))
        return;
    if (const MaybeError error = mDocument->transport().moveToSelectedDevice()) {
        updateOutputLevelMeters();
        mHost.playbackFailed(error->message);
    }
}

} // namespace velloria
