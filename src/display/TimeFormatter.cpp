#include "display/TimeFormatter.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace velloria
{

namespace
{

constexpr double kFilmFramesPerSecond = 24.0;
constexpr double kFilmFramesPerFoot = 16.0;
constexpr double kFeetPerSecond = kFilmFramesPerSecond / kFilmFramesPerFoot;

/// 2^53: a double at or above it has no fraction that could be shown.
constexpr double kLargestExactInteger = 9007199254740992.0;

int numDecimalsForPrecision(double precision)
{
    if (precision >= 1.0)
        return 0;
    if (precision >= 0.1)
        return 1;
    if (precision >= 0.01)
        return 2;
    return precision >= 0.001 ? 3 : 4;
}

/// A whole number in decimal digits; unlike a conversion to int it is defined for every double.
QString wholeText(double value, int numDigits = 1)
{
    return QString::number(value, 'f', 0).rightJustified(numDigits, u'0');
}

QString clockText(double wholeSeconds)
{
    const double hours = std::floor(wholeSeconds / 3600.0);
    const double minutes = std::fmod(std::floor(wholeSeconds / 60.0), 60.0);
    const QString seconds = u'\'' + wholeText(std::fmod(wholeSeconds, 60.0), 2);
    if (wholeSeconds >= 3600.0)
        return wholeText(hours) + u':' + wholeText(minutes, 2) + seconds;
    return wholeText(minutes) + seconds;
}

bool isFieldSeparator(QChar character)
{
    return character == u' ' || character == u':' || character == u'\'' || character == u'"';
}

void skipSpaces(QStringView text, qsizetype& position)
{
    while (position < text.size() && text[position].isSpace())
        ++position;
}

/// The numbers of a text that holds nothing but numbers with one separator, spaced at will, between any two.
std::optional<std::vector<double>> fieldsOfText(QStringView text, const NumberFormatter& numberFormatter)
{
    std::vector<double> fields;
    for (qsizetype position = 0;;) {
        skipSpaces(text, position);
        const auto field = numberFormatter.scanUngrouped(text, position);
        if (!field)
            return std::nullopt;
        fields.push_back(*field);
        const qsizetype fieldEnd = position;
        skipSpaces(text, position);
        if (position == text.size())
            return fields;
        if (isFieldSeparator(text[position]))
            ++position;
        else if (position == fieldEnd)
            return std::nullopt;
    }
}

std::optional<double> finite(double value)
{
    return std::isfinite(value) ? std::optional(value) : std::nullopt;
}

} // namespace

std::optional<double> framesPerSecondOfUnits(int64_t units)
{
    switch (units) {
    case kRulerUnitsTimeAndFrames30:
        return 30.0;
    case kRulerUnitsTimeAndFrames25:
        return 25.0;
    case kRulerUnitsTimeAndFrames24:
        return 24.0;
    default:
        return std::nullopt;
    }
}

TimeFormatter::TimeFormatter(const QLocale& locale)
    : _numberFormatter(locale)
{
}

QString TimeFormatter::stringForObjectValue(double seconds) const
{
    if (const auto fps = framesPerSecondOfUnits(_units))
        return stringWithTime(seconds, *fps);
    switch (_units) {
    case kRulerUnitsMinutesAndSeconds:
        return stringWithTime(seconds);
    case kRulerUnitsSeconds:
        return _numberFormatter.stringFromNumber(seconds, 4);
    case kRulerUnitsSamples:
        return _numberFormatter.stringFromNumber(std::round(_sampleRate * seconds), 0);
    case kRulerUnitsFeetAndFrames:
        return stringWithFeetAndFrames(seconds);
    case kRulerUnitsFilmFrames:
        return _numberFormatter.stringFromNumber(kFilmFramesPerSecond * seconds, 2);
    default:
        return {};
    }
}

double TimeFormatter::roundedToPrecision(double magnitude) const
{
    if (!(_precision > 0.0))
        return magnitude;
    const double rounded = std::round(magnitude / _precision) * _precision;
    return std::isfinite(rounded) ? rounded : magnitude;
}

QString TimeFormatter::stringWithTime(double seconds) const
{
    if (!std::isfinite(seconds))
        return {};
    const int numDecimals = numDecimalsForPrecision(_precision);
    const double rounded = roundedToPrecision(std::fabs(seconds));
    double whole = std::floor(rounded);
    double decimals = 0.0;
    if (numDecimals > 0 && rounded < kLargestExactInteger) {
        // One count of the smallest shown digit, so that seconds and decimals cannot disagree.
        const double scale = std::pow(10.0, numDecimals);
        const double count = std::round(rounded * scale);
        decimals = std::fmod(count, scale);
        whole = (count - decimals) / scale;
    }
    QString text = clockText(whole);
    if (numDecimals > 0)
        text += decimalSeparator() + wholeText(decimals, numDecimals);
    return NumberFormatter::withSign(seconds < 0.0, text);
}

QString TimeFormatter::stringWithTime(double seconds, double fps) const
{
    if (!std::isfinite(seconds) || !std::isfinite(fps) || fps <= 0.0)
        return {};
    const bool showsTenths = !(_precision >= 1.0);
    const double countsPerFrame = showsTenths ? 10.0 : 1.0;
    const double magnitude = std::fabs(seconds);
    double whole = std::floor(magnitude);
    const double frames = roundedToPrecision((magnitude - whole) * fps);
    double count = showsTenths ? std::round(frames * countsPerFrame) : std::floor(frames);
    if (count >= fps * countsPerFrame) {
        whole += 1.0;
        count = 0.0;
    }
    QString text = clockText(whole) + u'"' + wholeText(std::floor(count / countsPerFrame), 2);
    if (showsTenths)
        text += decimalSeparator() + wholeText(std::fmod(count, countsPerFrame));
    return NumberFormatter::withSign(seconds < 0.0, text);
}

/// Written as printf would, so with a decimal point in every locale.
QString TimeFormatter::stringWithFeetAndFrames(double seconds) const
{
    const double magnitude = std::fabs(seconds);
    double feet = std::floor(kFeetPerSecond * magnitude);
    if (!std::isfinite(feet))
        return {};
    double frames = 0.0;
    if (feet < kLargestExactInteger / (1000.0 * kFilmFramesPerFoot)) {
        const double thousandths = std::round(kFilmFramesPerSecond * magnitude * 1000.0);
        frames = std::fmod(thousandths, 1000.0 * kFilmFramesPerFoot) / 1000.0;
        feet = std::round((thousandths / 1000.0 - frames) / kFilmFramesPerFoot);
    }
    return NumberFormatter::withSign(seconds < 0.0, QString::asprintf("%1.0f' %1.3f", feet, frames));
}

std::optional<double> TimeFormatter::getValue(QStringView text) const
{
    if (const auto fps = framesPerSecondOfUnits(_units))
        return getValue(text, *fps);
    const auto number = [&] { return _numberFormatter.numberFromString(text); };
    const auto numberPerSecond = [&](double rate) {
        const auto value = number();
        return value && rate > 0.0 ? finite(*value / rate) : std::nullopt;
    };
    switch (_units) {
    case kRulerUnitsMinutesAndSeconds:
        return minutesAndSecondsValue(text);
    case kRulerUnitsSeconds:
        return number();
    case kRulerUnitsSamples:
        return numberPerSecond(_sampleRate);
    case kRulerUnitsFeetAndFrames:
        return feetAndFramesValue(text);
    case kRulerUnitsFilmFrames:
        return numberPerSecond(kFilmFramesPerSecond);
    default:
        return std::nullopt;
    }
}

std::optional<double> TimeFormatter::getValue(QStringView text, double fps) const
{
    if (!std::isfinite(fps) || fps <= 0.0)
        return std::nullopt;
    const auto numSeparators = std::count_if(text.begin(), text.end(), isFieldSeparator);
    qsizetype position = 0;
    const auto skipSeparators = [&] {
        while (position < text.size() && isFieldSeparator(text[position]))
            ++position;
    };
    skipSeparators();
    const bool isNegative = NumberFormatter::scanSign(text, position);
    double value = 0.0;
    bool hasRead = false;
    for (qsizetype i = 0; i <= numSeparators; ++i) {
        skipSeparators();
        const auto field = _numberFormatter.scanUngrouped(text, position);
        if (!field)
            break;
        value = i < numSeparators ? value * 60.0 + *field : value + *field / fps;
        hasRead = true;
    }
    return hasRead ? finite(isNegative ? -value : value) : std::nullopt;
}

std::optional<double> TimeFormatter::minutesAndSecondsValue(QStringView text) const
{
    const QStringView trimmed = text.trimmed();
    qsizetype start = 0;
    const bool isNegative = NumberFormatter::scanSign(trimmed, start);
    const auto fields = fieldsOfText(trimmed.mid(start), _numberFormatter);
    if (!fields || fields->size() > 3)
        return std::nullopt;
    double value = 0.0;
    for (const double field : *fields)
        value = value * 60.0 + field;
    return finite(isNegative ? -value : value);
}

std::optional<double> TimeFormatter::feetAndFramesValue(QStringView text) const
{
    QStringView trimmed = text.trimmed();
    qsizetype start = 0;
    const bool isNegative = NumberFormatter::scanSign(trimmed, start);
    trimmed = trimmed.mid(start);
    const bool endsInFeet = trimmed.endsWith(u'\'');
    if (endsInFeet)
        trimmed.chop(1);
    const auto fields = fieldsOfText(trimmed, _numberFormatter);
    const size_t maxNumFields = endsInFeet ? 1 : 2;
    if (!fields || fields->size() > maxNumFields)
        return std::nullopt;
    const double feet = endsInFeet || fields->size() == 2 ? fields->front() : 0.0;
    const double frames = endsInFeet ? 0.0 : fields->back();
    const double value = feet / kFeetPerSecond + frames / kFilmFramesPerSecond;
    return finite(isNegative ? -value : value);
}

} // namespace velloria
