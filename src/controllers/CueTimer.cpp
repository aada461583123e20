#include "controllers/CueTimer.h"

#include "display/WaveformViewGeometry.h"
#include "document/DocumentRecording.h"
#include "document/DocumentTransport.h"

namespace velloria
{

namespace
{

constexpr int kCueMilliseconds = 16;          ///< 60 times a second
constexpr int kRecordingCueMilliseconds = 33; ///< 30 times a second

} // namespace

CueTimer::CueTimer(SoundDocument& document, SelectionModel& selection, DisplayHost& host)
    : mDocument(document)
    , mSelection(selection)
    , mHost(host)
{
    mCueMainTimer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&mCueMainTimer, &QTimer::timeout, &mCueMainTimer, [this] { cueMainTimerFire(); });
}

void CueTimer::startCueTimers()
{
    const bool isRecording = mDocument.recording().isInProgress();
    mCueFollower.start(isRecording);
    if (WaveformViewGeometry* const view = mHost.mainView()) {
        mSeenZoom = view->zoom();
        mSeenScrollPosition = view->scrollPosition();
        mCueMainTimer.start(isRecording ? kRecordingCueMilliseconds : kCueMilliseconds);
    }
}

void CueTimer::cueMainTimerFire()
{
    const double now = mDocument.transport().nextCueTime();
    WaveformViewGeometry* const view = mHost.mainView();
    if (now < 0.0 || !view)
        return;
    const bool isRecording = mDocument.recording().isInProgress();
    if (isRecording) {
        mDocument.recalculateNumFrames();
        mHost.documentDidGrow();
    }
    const double before = mSelection.cueTime();
    mSelection.showCueTime(now);
    mIsScrolling = true;
    mCueFollower.follow(*view, before, mSelection.cueTime(), isRecording);
    mIsScrolling = false;
    mSeenScrollPosition = view->scrollPosition();
    if (isRecording)
        mRecordingHandler(before);
    else
        mPlayingHandler();
}

void CueTimer::didScrollHorizontally()
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

void CueTimer::scroll(const std::function<void(WaveformViewGeometry&)>& change)
{
    WaveformViewGeometry* const view = mHost.mainView();
    if (!view)
        return;
    mIsScrolling = true;
    change(*view);
    mIsScrolling = false;
}

} // namespace velloria
