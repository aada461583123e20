#pragma once

#include <QLocale>
#include <QString>
#include <optional>

namespace velloria
{

/// Writes and reads decimal numbers with a locale's grouping and decimal marks.
///
/// Digits are grouped by thousands whatever the locale's own habit is, and written as ASCII digits. Values
/// are immutable after construction; any thread.
class NumberFormatter
{
public:
    explicit NumberFormatter(const QLocale& locale = QLocale());

    const QString& thousandsSeparator() const { return _thousandsSeparator; }
    const QString& decimalSeparator() const { return _decimalSeparator; }

    /// The number rounded to numDecimals places, grouped; 1234.5 with 2 places is "1,234.50" in English.
    /// No text for NaN and infinity. What rounds to zero has no sign.
    QString stringFromNumber(double value, int numDecimals) const;

    /// Reads a whole text as one number. Grouping marks may be left out, but where they stand three digits
    /// must follow, so that "1,5" is refused in English and not taken for 15. A plain space may stand for a
    /// locale's no-break space, and a point for its decimal mark where it does not group.
    std::optional<double> numberFromString(QStringView text) const;

    /// Reads an unsigned number without grouping at position, which moves behind it. Both the locale's mark
    /// and a point are decimal marks here. Nothing is read, and position stays, where no number begins.
    std::optional<double> scanUngrouped(QStringView text, qsizetype& position) const;

    /// Moves position behind a minus (hyphen or U+2212) or plus sign; true for a minus.
    static bool scanSign(QStringView text, qsizetype& position);

    /// magnitude with a minus before it if it is negative and any of its digits is not zero.
    static QString withSign(bool isNegative, const QString& magnitude);

private:
    enum class Grouping { Allowed, Refused };

    std::optional<double> scan(QStringView text, qsizetype& position, Grouping grouping) const;
    bool scanGroup(QStringView text, qsizetype& position, QByteArray& digits) const;
    qsizetype groupMarkLength(QStringView rest) const;
    qsizetype decimalMarkLength(QStringView rest, Grouping grouping) const;

    QString _thousandsSeparator;
    QString _decimalSeparator;
};

} // namespace velloria
