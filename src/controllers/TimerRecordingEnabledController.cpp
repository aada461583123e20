#include "controllers/TimerRecordingEnabledController.h"

#include "controllers/RecordingController.h"
#include "document/DocumentRecording.h"
#include "document/DocumentTransport.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr int64_t kLongestWaitMs = 60'000;

} // namespace

TimerRecordingEnabledController::TimerRecordingEnabledController(SoundController& controller,
                                                                 const QDateTime& startDate,
                                                                 const QDateTime& endDate, Clock clock)
    : mController(controller)
    , mStartDate(startDate)
    , mEndDate(endDate)
    , mClock(std::move(clock))
{
    mTimer.setSingleShot(true);
    mTimer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&mTimer, &QTimer::timeout, &mTimer, [this] { check(); });
    // Not at once: who made it has yet to say whom to tell.
    mTimer.start(0);
}

QString TimerRecordingEnabledController::durationText() const
{
    const double minutes = static_cast<double>(mStartDate.msecsTo(mEndDate)) / 60000.0;
    return QString::asprintf("%1.3f ", minutes) + QStringLiteral("min.");
}

int64_t TimerRecordingEnabledController::secondsToGo() const
{
    const QDateTime& next = mState == State::waiting ? mStartDate : mEndDate;
    return std::max<int64_t>(0, (mClock().msecsTo(next) + 999) / 1000);
}

void TimerRecordingEnabledController::check()
{
    if (isOver())
        return;
    const QDateTime now = mClock();
    if (now >= mEndDate) {
        stopRecording();
        return;
    }
    if (mState == State::waiting && now >= mStartDate)
        startRecording();
    // Someone else stopped it, or the device went away.
    if (isRecording() && !mController.document().recording().isInProgress())
        change(State::over, mController.document().recording().endError());
    if (isOver())
        return;
    const int64_t wait = now.msecsTo(isRecording() ? mEndDate : mStartDate);
    mTimer.start(static_cast<int>(std::clamp<int64_t>(wait, 1, kLongestWaitMs)));
}

void TimerRecordingEnabledController::startRecording()
{
    if (mState != State::waiting)
        return;
    if (const MaybeError error = mController.recording().recordAtEnd(nullptr))
        change(State::over, error);
    else
        change(State::recording, std::nullopt);
}

void TimerRecordingEnabledController::stopRecording()
{
    if (isRecording())
        mController.document().transport().stopSound();
    if (!isOver())
        change(State::over, std::nullopt);
}

void TimerRecordingEnabledController::change(State state, const MaybeError& error)
{
    mState = state;
    if (mHandler)
        mHandler(error);
}

} // namespace velloria
