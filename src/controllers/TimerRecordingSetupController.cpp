#include "controllers/TimerRecordingSetupController.h"

#include "platform/UserDefaults.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kUsualMinutes = 30.0;

QString durationKey()
{
    return QStringLiteral("timerRecording.defaultDuration");
}

double storedDuration()
{
    const double stored = UserDefaults::standard().doubleValue(durationKey());
    return stored > 0.0 ? stored : kUsualMinutes;
}

QDateTime withoutSeconds(const QDateTime& date)
{
    return date.addMSecs(-(date.time().msecsSinceStartOfDay() % 60000));
}

} // namespace

TimerRecordingSetupController::TimerRecordingSetupController(const QDateTime& now)
    : mEarliestDate(withoutSeconds(now))
    , mStartDate(mEarliestDate)
    , mDuration(storedDuration())
{
    moveEnd();
}

void TimerRecordingSetupController::moveEnd()
{
    mEndDate = mStartDate.addSecs(std::llround(60.0 * mDuration));
}

void TimerRecordingSetupController::setStartDate(const QDateTime& date)
{
    mStartDate = std::max(date, mEarliestDate);
    moveEnd();
}

void TimerRecordingSetupController::setDuration(double minutes)
{
    mDuration = minutes;
    moveEnd();
}

void TimerRecordingSetupController::setEndDate(const QDateTime& date)
{
    mEndDate = std::max(date, mEarliestDate);
    mDuration = std::round(static_cast<double>(mStartDate.secsTo(mEndDate)) / 60.0);
}

void TimerRecordingSetupController::confirm() const
{
    UserDefaults::standard().setValue(durationKey(), mDuration);
}

} // namespace velloria
