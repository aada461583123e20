#pragma once

#include <QString>
#include <optional>

namespace velloria
{

/// Decides, from the time that passed and the fraction done, when progress is worth showing and what it says.
/// Times are seconds since the work began. No clock and no window of its own.
class ProgressClock
{
public:
    struct Display {
        bool isVisible = false; ///< the whole will take more than a second
        bool isDue = false;     ///< it is time to show new values
        double value = 0;
        QString remaining; ///< "12 seconds"; empty while nobody can tell
    };

    Display update(double elapsed, double value);

    static QString remainingText(double seconds);

private:
    bool mIsVisible = false;
    std::optional<double> mLastShown;
};

} // namespace velloria
