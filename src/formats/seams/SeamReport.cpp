#include "formats/seams/SeamReport.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double secondsPerMinute = 60.0;
constexpr double secondsPerHour = 3600.0;
// The shortest time that two decimals can tell.
constexpr double leastSeconds = 0.01;

QString lengthOf(double seconds)
{
    // Rounded before it is divided, or there would be 60 seconds in some minutes.
    const double tenths = std::round(seconds * 10.0) / 10.0;
    if (tenths < secondsPerMinute)
        return QStringLiteral("%1 s").arg(std::max(seconds, leastSeconds), 0, 'f', 2);
    const double hours = std::floor(tenths / secondsPerHour);
    const double minutes = std::floor((tenths - hours * secondsPerHour) / secondsPerMinute);
    const double rest = tenths - hours * secondsPerHour - minutes * secondsPerMinute;
    const QString length = QStringLiteral("%1 min %2 s").arg(minutes, 0, 'f', 0).arg(rest, 0, 'f', 1);
    return hours > 0.0 ? QStringLiteral("%1 h %2").arg(QString::number(hours, 'f', 0), length) : length;
}

} // namespace

QString SeamReport::loss(double sampleRate) const
{
    if (numFramesEncoded <= 0 || sampleRate <= 0.0)
        return {};
    const QString length = lengthOf(static_cast<double>(numFramesEncoded) / sampleRate);
    if (numSeams <= 0)
        return QStringLiteral("%1 are encoded once more.").arg(length);
    const QString cuts = numSeams == 1 ? QStringLiteral("1 cut") : QStringLiteral("%1 cuts").arg(numSeams);
    return QStringLiteral("%1 around %2 are encoded once more.").arg(length, cuts);
}

} // namespace velloria
