#include "app/sheets/TimeField.h"

#include "app/preferences/Settings.h"
#include "display/TimeEntry.h"
#include "platform/UserDefaults.h"

#include <QCoreApplication>

namespace velloria
{

TimeField::TimeField(double sampleRate, double seconds, QWidget* parent)
    : QLineEdit(parent)
{
    mFormatter.setSampleRate(sampleRate);
    mFormatter.setUnits(UserDefaults::standard().integerValue(Settings::rulerUnits));
    setMinimumWidth(140);
    setAlignment(Qt::AlignRight);
    //% "In the ruler's units, or with a unit behind the number: 1.5 s, 250 ms, 2 min, 44100 samples"
    setToolTip(qtTrId("time-field-tip"));
    setTime(seconds);
}

void TimeField::setTime(double seconds)
{
    mSeconds = seconds;
    mText = mFormatter.stringForObjectValue(seconds);
    setText(mText);
    selectAll();
}

std::optional<double> TimeField::time() const
{
    return text() == mText ? std::optional(mSeconds) : timeFromEntry(mFormatter, text());
}

} // namespace velloria
