#include "formats/streams/DateWithNextHour.h"

#include <algorithm>

namespace velloria
{

QDateTime dateWithNextHour(int hour, int minute, const QDateTime& now)
{
    constexpr qint64 graceMilliseconds = 90'000;
    const QTime time(std::clamp(hour, 0, 23), std::clamp(minute, 0, 59));
    const QDate today = now.toLocalTime().date();
    const bool isPast = QDateTime(today, time).msecsTo(now) > graceMilliseconds;
    return {isPast ? today.addDays(1) : today, time};
}

} // namespace velloria
