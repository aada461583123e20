#include "effects/frame/ParameterDescription.h"

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
    case Kind::list:
        break;
    }
    return std::clamp(value, hardMinimum, hardMaximum);
}

std::optional<double> ParameterDescription::valueOfStored(double stored) const
{
    return allowedValue(isOnOnlyWhenOne && stored != 1.0 ? 0.0 : stored);
}

std::optional<double> ParameterDescription::valueOfVariant(const QVariant& variant) const
{
    const QString wanted = listedName ? listedName(variant.toString()) : variant.toString();
    for (qsizetype i = 0; i < choices.size(); ++i)
        if (choices[i].compare(wanted, Qt::CaseInsensitive) == 0)
            return static_cast<double>(i);
    bool isNumber = false;
    const double value = variant.toDouble(&isNumber);
    return isNumber ? allowedValue(value) : std::nullopt;
}

std::optional<std::vector<double>> ParameterDescription::listOfVariant(const QVariant& variant) const
{
    std::vector<double> list;
    for (const QVariant& element : variant.toList()) {
        bool isNumber = false;
        const std::optional<double> value = allowedValue(element.toDouble(&isNumber));
        if (!isNumber || !value)
            return std::nullopt;
        list.push_back(*value);
    }
    return list.empty() ? std::nullopt : std::optional(std::move(list));
}

} // namespace velloria
