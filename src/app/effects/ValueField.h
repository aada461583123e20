#pragma once

#include <QDoubleSpinBox>

namespace velloria
{

/// A field for typed numbers that shows few decimals but keeps the value that it was given: leaving it
/// untouched changes nothing, and typed digits stay.
class ValueField : public QDoubleSpinBox
{
    Q_OBJECT

public:
    /// At least so many decimals are shown.
    ValueField(int decimals, QWidget* parent);

    QString textFromValue(double value) const override;
    double valueFromText(const QString& text) const override;

private:
    const int mDecimals;
};

} // namespace velloria
