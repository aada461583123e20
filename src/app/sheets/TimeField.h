#pragma once

#include "display/TimeFormatter.h"

#include <QLineEdit>

namespace velloria
{

/// A field for a time in the ruler's units; any other unit may be typed with its name behind the number.
class TimeField : public QLineEdit
{
public:
    TimeField(double sampleRate, double seconds, QWidget* parent = nullptr);

    void setTime(double seconds);
    /// Nothing while the text is no time.
    std::optional<double> time() const;

private:
    TimeFormatter mFormatter;
    /// What was set last; the text may show less of it.
    double mSeconds = 0;
    QString mText;
};

} // namespace velloria
