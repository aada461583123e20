#include "app/recovery/LengthText.h"

#include <algorithm>
#include <cstdint>

namespace velloria
{

QString lengthText(double seconds)
{
    const auto whole = static_cast<int64_t>(std::clamp(seconds, 0.0, 1e12));
    const auto twoDigits = [](int64_t number) {
        return QStringLiteral("%1").arg(number, 2, 10, QChar(u'0'));
    };
    const int64_t minutes = whole / 60;
    const QString tail = u':' + twoDigits(whole % 60);
    return minutes < 60 ? QString::number(minutes) + tail
                        : QStringLiteral("%1:%2").arg(minutes / 60).arg(twoDigits(minutes % 60)) + tail;
}

} // namespace velloria
