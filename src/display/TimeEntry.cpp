#include "display/TimeEntry.h"

#include <array>
#include <cmath>

namespace velloria
{

namespace
{

struct Suffix {
    QLatin1String text;
    double seconds; ///< 0 stands for one sample
};

// Longer ones first: "ms" ends like "s".
constexpr std::array kSuffixes = {
    Suffix{QLatin1String("samples"), 0.0},  Suffix{QLatin1String("seconds"), 1.0},
    Suffix{QLatin1String("minutes"), 60.0}, Suffix{QLatin1String("smp"), 0.0},
    Suffix{QLatin1String("sec"), 1.0},      Suffix{QLatin1String("min"), 60.0},
    Suffix{QLatin1String("ms"), 0.001},     Suffix{QLatin1String("ff"), 1.0 / 24.0},
    Suffix{QLatin1String("s"), 1.0},        Suffix{QLatin1String("h"), 3600.0},
};

} // namespace

std::optional<double> timeFromEntry(const TimeFormatter& formatter, QStringView text)
{
    const QStringView trimmed = text.trimmed();
    for (const Suffix& suffix : kSuffixes) {
        if (!trimmed.endsWith(suffix.text, Qt::CaseInsensitive))
            continue;
        TimeFormatter plain = formatter;
        plain.setUnits(kRulerUnitsSeconds);
        const auto number = plain.getValue(trimmed.chopped(suffix.text.size()).trimmed());
        const double unit = suffix.seconds > 0.0 ? suffix.seconds : 1.0 / formatter.sampleRate();
        return number && std::isfinite(*number * unit) ? std::optional(*number * unit) : std::nullopt;
    }
    return formatter.getValue(text);
}

} // namespace velloria
