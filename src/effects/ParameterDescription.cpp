#include "effects/ParameterDescription.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

std::optional<double> ParameterDescription::allowedValue(double value) const
{
    if (!std::isfinite(value))
        return std::nullopt;
    switch (kind) {
    case Kind::toggle:
        return value == 0.0 ? 0.0 : 1.0;
    case Kind::choice:
        return std::clamp(std::round(value), 0.0,
                          static_cast<double>(std::max<qsizetype>(choices.size(), 1) - 1));
    case Kind::number:
        break;
    }
    return std::clamp(value, hardMinimum, hardMaximum);
}

std::optional<double> ParameterDescription::valueOfVariant(const QVariant& variant) const
{
    for (qsizetype i = 0; i < choices.size(); ++i)
        if (choices[i].compare(variant.toString(), Qt::CaseInsensitive) == 0)
            return static_cast<double>(i);
    bool isNumber = false;
    const double value = variant.toDouble(&isNumber);
    return isNumber ? allowedValue(value) : std::nullopt;
}

} // namespace velloria
