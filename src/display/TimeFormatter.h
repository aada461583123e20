#pragma once

#include "display/NumberFormatter.h"

#include <QLocale>
#include <QString>
#include <cstdint>
#include <optional>

namespace velloria
{

/// The unit codes of the preference "view.ruler.units".
enum RulerUnits : int64_t {
    kRulerUnitsMinutesAndSeconds = 1,
    kRulerUnitsSeconds = 2,
    kRulerUnitsSamples = 3,
    kRulerUnitsTimeAndFrames30 = 4,
    kRulerUnitsTimeAndFrames25 = 5,
    kRulerUnitsTimeAndFrames24 = 6,
    kRulerUnitsFeetAndFrames = 7,
    kRulerUnitsFilmFrames = 8,
};

/// The frame rate of the three time-and-frames units; nothing for every other code.
std::optional<double> framesPerSecondOfUnits(int64_t units);

/// Renders a time in seconds as the user wants to read it, and reads such a text back.
///
/// The locale's grouping and decimal marks are taken once, at construction. A time before zero is its
/// magnitude with a minus sign before the whole text. Rounding carries: no text ever shows a full minute as
/// 60 seconds, a full second as 30 frames or a full foot as 16 frames. Every number that double can hold gets
/// a text without overflow; NaN, infinity and products beyond double get none (a null string).
///
/// Parsing refuses NaN, infinity and what is no number, and answers seconds. format(parse(format(t))) is
/// format(t) in every unit and precision.
class TimeFormatter
{
public:
    explicit TimeFormatter(const QLocale& locale = QLocale());

    double sampleRate() const { return _sampleRate; }
    void setSampleRate(double sampleRate) { _sampleRate = sampleRate; }

    /// In seconds (in frames, for time and frames); decides how many decimals are shown.
    double precision() const { return _precision; }
    void setPrecision(double precision) { _precision = precision; }

    /// One of RulerUnits; times in any other unit have no text.
    int64_t units() const { return _units; }
    void setUnits(int64_t units) { _units = units; }

    const QString& thousandsSeparator() const { return _numberFormatter.thousandsSeparator(); }
    const QString& decimalSeparator() const { return _numberFormatter.decimalSeparator(); }

    /// The time in the present units.
    QString stringForObjectValue(double seconds) const;

    /// Hours (from one hour on), minutes and seconds, 1:02'05.5; none to four decimals by the precision.
    QString stringWithTime(double seconds) const;

    /// Hours, minutes, seconds and frames, 0'01"15; tenths of a frame when the precision is below 1.
    QString stringWithTime(double seconds, double fps) const;

    /// Seconds of a text in the present units. Fields of a time may be divided by space, colon, apostrophe or
    /// double quote; the leading ones may be left out. In feet and frames a lone number counts frames, and
    /// one with an apostrophe behind it feet.
    std::optional<double> getValue(QStringView text) const;

    /// Seconds of a text in time and frames. As many fields are expected as there are separators, and one
    /// more; the last is frames, those before it hours, minutes and seconds. Reading ends at the first field
    /// that is no number; the value is what was read until then, and nothing when that was no field.
    std::optional<double> getValue(QStringView text, double fps) const;

private:
    double roundedToPrecision(double magnitude) const;
    QString stringWithFeetAndFrames(double seconds) const;
    std::optional<double> minutesAndSecondsValue(QStringView text) const;
    std::optional<double> feetAndFramesValue(QStringView text) const;

    double _sampleRate = 1.0;
    int64_t _units = kRulerUnitsMinutesAndSeconds;
    double _precision = 0.0001;
    NumberFormatter _numberFormatter;
};

} // namespace velloria
