#include "app/effects/ValueField.h"

#include <cmath>

namespace velloria
{

namespace
{

constexpr int kMostDecimals = 9;
/// Decimals shown beyond the usual ones where a value has them.
constexpr int kMoreShown = 3;

} // namespace

ValueField::ValueField(int decimals, QWidget* parent)
    : QDoubleSpinBox(parent)
    , mDecimals(decimals)
{
    setDecimals(kMostDecimals);
    setAlignment(Qt::AlignRight);
}

QString ValueField::textFromValue(double value) const
{
    int decimals = mDecimals;
    const auto isExact = [value](int count) {
        const double unit = std::pow(10.0, count);
        return std::abs(std::round(value * unit) - value * unit) < unit * 1e-9;
    };
    while (decimals < mDecimals + kMoreShown && !isExact(decimals))
        ++decimals;
    QString text = locale().toString(value, 'f', decimals);
    return text.remove(locale().groupSeparator());
}

double ValueField::valueFromText(const QString& text) const
{
    // What was not typed is read back as it was, with the digits that are not shown.
    QString digits = text;
    if (digits.endsWith(suffix()))
        digits.chop(suffix().size());
    return digits.trimmed() == textFromValue(value()) ? value() : QDoubleSpinBox::valueFromText(text);
}

} // namespace velloria
