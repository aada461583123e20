#pragma once

#include "controllers/SoundController.h"

#include <QDateTime>
#include <QTimer>

namespace velloria
{

/// Waits for the start of a timer recording, records at the end of the document, and stops at the end date. A
/// start that has passed already begins at once. Looks at the clock at least once a minute, so that a machine
/// that slept or whose clock was set still starts and ends in time. Main thread.
class TimerRecordingEnabledController
{
public:
    using Clock = std::function<QDateTime()>;

    TimerRecordingEnabledController(SoundController& controller, const QDateTime& startDate,
                                    const QDateTime& endDate, Clock clock = QDateTime::currentDateTime);
    TimerRecordingEnabledController(const TimerRecordingEnabledController&) = delete;
    TimerRecordingEnabledController& operator=(const TimerRecordingEnabledController&) = delete;

    const QDateTime& startDate() const { return mStartDate; }
    const QDateTime& endDate() const { return mEndDate; }
    bool isRecording() const { return mState == State::recording; }
    bool isOver() const { return mState == State::over; }
    /// As "30.000 min."
    QString durationText() const;
    /// Seconds until the start or, once it records, the end.
    int64_t secondsToGo() const;

    void startRecording();
    void stopRecording();
    /// Looks at the clock now.
    void check();

    /// Called when it begins and when it is over; the error says why it ended early.
    void setChangeHandler(std::function<void(const MaybeError&)> handler) { mHandler = std::move(handler); }

private:
    enum class State { waiting, recording, over };

    void change(State state, const MaybeError& error);

    SoundController& mController;
    const QDateTime mStartDate;
    const QDateTime mEndDate;
    const Clock mClock;
    State mState = State::waiting;
    std::function<void(const MaybeError&)> mHandler;
    QTimer mTimer;
};

} // namespace velloria
