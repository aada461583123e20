#pragma once

#include <QDateTime>

namespace velloria
{

/// The next moment that a local clock shows hour:minute:00. A time up to 90 seconds ago still counts as
/// today's, so that a timer set for "now" does not wait a whole day. Values off the clock are clamped.
QDateTime dateWithNextHour(int hour, int minute, const QDateTime& now = QDateTime::currentDateTime());

} // namespace velloria
