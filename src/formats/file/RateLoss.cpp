#include "formats/file/RateLoss.h"

#include <cmath>

namespace velloria
{

QStringList lossOfRateFraction(double sampleRate)
{
    const double rounded = std::round(sampleRate);
    if (rounded == sampleRate)
        return {};
    constexpr int digits = 12;
    return {QStringLiteral("The sample rate of %1 Hz becomes %2 Hz.")
                .arg(QString::number(sampleRate, 'g', digits), QString::number(rounded, 'f', 0))};
}

} // namespace velloria
