#pragma once

#include <QDateTime>

namespace velloria
{

/// When a timer recording begins and ends: start, end and duration, of which each follows the others.
class TimerRecordingSetupController
{
public:
    explicit TimerRecordingSetupController(const QDateTime& now = QDateTime::currentDateTime());

    /// Nothing begins or ends before; the present minute.
    const QDateTime& earliestDate() const { return mEarliestDate; }
    const QDateTime& startDate() const { return mStartDate; }
    const QDateTime& endDate() const { return mEndDate; }
    /// In minutes.
    double duration() const { return mDuration; }

    /// The duration stays.
    void setStartDate(const QDateTime& date);
    void setDuration(double minutes);
    /// The start stays; the duration becomes whole minutes.
    void setEndDate(const QDateTime& date);

    bool isAcceptable() const { return mEndDate > mStartDate; }
    /// Keeps the duration for the next time.
    void confirm() const;

private:
    void moveEnd();

    QDateTime mEarliestDate;
    QDateTime mStartDate;
    QDateTime mEndDate;
    double mDuration;
};

} // namespace velloria
