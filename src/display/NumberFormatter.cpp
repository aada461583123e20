#include "display/NumberFormatter.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr qsizetype kDigitsPerGroup = 3;
constexpr QChar kMinusSign(0x2212);

qsizetype scanDigits(QStringView text, qsizetype& position, QByteArray& digits)
{
    const qsizetype start = position;
    for (; position < text.size() && text[position].isDigit(); ++position)
        digits.append(static_cast<char>('0' + text[position].digitValue()));
    return position - start;
}

} // namespace

NumberFormatter::NumberFormatter(const QLocale& locale)
    : _thousandsSeparator(locale.groupSeparator())
    , _decimalSeparator(locale.decimalPoint())
{
}

QString NumberFormatter::stringFromNumber(double value, int numDecimals) const
{
    if (!std::isfinite(value))
        return {};
    const QString plain = QString::number(std::fabs(value), 'f', numDecimals);
    const qsizetype numWholeDigits = numDecimals > 0 ? plain.size() - numDecimals - 1 : plain.size();
    QString text;
    for (qsizetype i = 0; i < numWholeDigits; ++i) {
        if (i > 0 && (numWholeDigits - i) % kDigitsPerGroup == 0)
            text += _thousandsSeparator;
        text += plain[i];
    }
    if (numDecimals > 0)
        text += _decimalSeparator + plain.right(numDecimals);
    return withSign(value < 0.0, text);
}

std::optional<double> NumberFormatter::numberFromString(QStringView text) const
{
    const QStringView trimmed = text.trimmed();
    qsizetype position = 0;
    const bool isNegative = scanSign(trimmed, position);
    const auto magnitude = scan(trimmed, position, Grouping::Allowed);
    if (!magnitude || position != trimmed.size())
        return std::nullopt;
    return isNegative ? -*magnitude : *magnitude;
}

std::optional<double> NumberFormatter::scanUngrouped(QStringView text, qsizetype& position) const
{
    return scan(text, position, Grouping::Refused);
}

bool NumberFormatter::scanSign(QStringView text, qsizetype& position)
{
    if (position >= text.size())
        return false;
    const QChar sign = text[position];
    const bool isMinus = sign == u'-' || sign == kMinusSign;
    if (isMinus || sign == u'+')
        ++position;
    return isMinus;
}

QString NumberFormatter::withSign(bool isNegative, const QString& magnitude)
{
    const bool isZero = std::none_of(magnitude.begin(), magnitude.end(),
                                     [](QChar character) { return character >= u'1' && character <= u'9'; });
    return isNegative && !isZero ? u'-' + magnitude : magnitude;
}

std::optional<double> NumberFormatter::scan(QStringView text, qsizetype& position, Grouping grouping) const
{
    qsizetype end = position;
    QByteArray digits;
    qsizetype numDigits = scanDigits(text, end, digits);
    const bool mayGroup = grouping == Grouping::Allowed && numDigits > 0 && numDigits <= kDigitsPerGroup;
    while (mayGroup && scanGroup(text, end, digits)) {
    }
    if (const qsizetype markLength = decimalMarkLength(text.mid(end), grouping); markLength > 0) {
        end += markLength;
        digits.append('.');
        numDigits += scanDigits(text, end, digits);
    }
    bool isNumber = false;
    const double value = digits.toDouble(&isNumber);
    if (numDigits == 0 || !isNumber || !std::isfinite(value))
        return std::nullopt;
    position = end;
    return value;
}

/// Takes a grouping mark and the three digits behind it, or leaves everything as it was.
bool NumberFormatter::scanGroup(QStringView text, qsizetype& position, QByteArray& digits) const
{
    const qsizetype markLength = groupMarkLength(text.mid(position));
    if (markLength == 0)
        return false;
    qsizetype end = position + markLength;
    QByteArray group;
    if (scanDigits(text, end, group) != kDigitsPerGroup)
        return false;
    digits += group;
    position = end;
    return true;
}

qsizetype NumberFormatter::groupMarkLength(QStringView rest) const
{
    if (_thousandsSeparator.isEmpty() || rest.isEmpty())
        return 0;
    if (rest.startsWith(_thousandsSeparator))
        return _thousandsSeparator.size();
    // Keyboards have no key for the no-break spaces that several locales group by.
    const bool groupsBySpace = _thousandsSeparator.size() == 1 && _thousandsSeparator[0].isSpace();
    return groupsBySpace && rest[0].isSpace() ? 1 : 0;
}

qsizetype NumberFormatter::decimalMarkLength(QStringView rest, Grouping grouping) const
{
    if (!_decimalSeparator.isEmpty() && rest.startsWith(_decimalSeparator))
        return _decimalSeparator.size();
    const bool pointGroups = grouping == Grouping::Allowed && _thousandsSeparator == u".";
    return !pointGroups && rest.startsWith(u'.') ? 1 : 0;
}

} // namespace velloria
