#include "app/progress/ProgressClock.h"

#include <QCoreApplication>
#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kShownAbove = 1.0;     ///< seconds that the whole takes
constexpr double kRemainingAfter = 1.0; ///< seconds until the estimate can be believed
constexpr double kTrustAfter = 0.2;     ///< the first blocks wait for files and tell nothing yet
constexpr double kUpdateInterval = 1.0 / 12;
constexpr double kMinutesAbove = 75;

} // namespace

ProgressClock::Display ProgressClock::update(double elapsed, double value)
{
    Display display;
    display.value = std::isnan(value) ? 0 : std::clamp(value, 0.0, 1.0);
    const bool isKnown = display.value > 0;
    const double remaining = isKnown ? (1 - display.value) * elapsed / display.value : 0;
    if (elapsed > kTrustAfter && elapsed + remaining > kShownAbove)
        mIsVisible = true;
    display.isVisible = mIsVisible;
    display.isDue = mIsVisible && (!mLastShown || elapsed - *mLastShown >= kUpdateInterval);
    if (display.isDue)
        mLastShown = elapsed;
    if (isKnown && elapsed > kRemainingAfter)
        display.remaining = remainingText(remaining);
    return display;
}

QString ProgressClock::remainingText(double seconds)
{
    const bool inMinutes = seconds > kMinutesAbove;
    const double count = std::ceil(inMinutes ? seconds / 60 : seconds);
    if (inMinutes && count == 1)
        //% "1 minute"
        return qtTrId("progress-minute");
    if (inMinutes)
        //% "%1 minutes"
        return qtTrId("progress-minutes").arg(count, 0, 'f', 0);
    if (count == 1)
        //% "1 second"
        return qtTrId("progress-second");
    //% "%1 seconds"
    return qtTrId("progress-seconds").arg(count, 0, 'f', 0);
}

} // namespace velloria
