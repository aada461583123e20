#include "display/TimeFormatter.h"

#include <QLocale>
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace velloria
{

namespace
{

using namespace Qt::Literals::StringLiterals;

const QLocale kEnglish(QStringLiteral("en_US"));
const QLocale kGerman(QStringLiteral("de_DE"));
const QLocale kFrench(QStringLiteral("fr_FR"));

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TimeFormatter formatterFor(int64_t units, double precision = 0.0001, const QLocale& locale = kEnglish)
{
    TimeFormatter formatter(locale);
    formatter.setUnits(units);
    formatter.setPrecision(precision);
    formatter.setSampleRate(44100.0);
    return formatter;
}

struct TextCase {
    int64_t units;
    double precision;
    double seconds;
    QString text;
};

TEST(TimeFormatterTest, WritesEveryUnit)
{
    const std::vector<TextCase> cases{
        {1, 0.0001, 59.99996, u"1'00.0000"_s},
        {1, 0.0001, 0.0, u"0'00.0000"_s},
        {1, 0.001, 61.0615, u"1'01.062"_s},
        {1, 0.005, 0.0126, u"0'00.015"_s},
        {1, 0.01, 59.999, u"1'00.00"_s},
        {1, 0.1, 3725.5, u"1:02'05.5"_s},
        {1, 0.1, 3599.96, u"1:00'00.0"_s},
        {1, 0.5, 0.74, u"0'00.5"_s},
        {1, 1.0, 3599.4, u"59'59"_s},
        {1, 1.0, 100.0 * 3600.0, u"100:00'00"_s},
        // Finer than the decimals can show, which must still carry into the seconds.
        {1, 0.00001, 59.99999, u"1'00.0000"_s},
        {1, 0.0, 1.5, u"0'01.5000"_s},
        {1, -1.0, 1.5, u"0'01.5000"_s},
        {2, 0.0001, 1234567.25, u"1,234,567.2500"_s},
        {2, 0.0001, 999.99999, u"1,000.0000"_s},
        {3, 0.0001, 1.0, u"44,100"_s},
        {3, 0.0001, 0.5 / 44100.0, u"1"_s},
        {4, 1.0, 1.5, u"0'01\"15"_s},
        {4, 1.0, 1.99, u"0'02\"00"_s},
        {4, 0.1, 3661.25, u"1:01'01\"07.5"_s},
        {4, 0.0001, 0.1, u"0'00\"03.0"_s},
        {4, 0.0001, 0.999999, u"0'01\"00.0"_s},
        {5, 1.0, 0.96, u"0'00\"24"_s},
        {5, 0.1, 0.5, u"0'00\"12.5"_s},
        {6, 1.0, 59.9999, u"1'00\"00"_s},
        {7, 0.0001, 10.0, u"15' 0.000"_s},
        {7, 0.0001, 0.5, u"0' 12.000"_s},
        {7, 0.0001, 10.0 - 1e-9, u"15' 0.000"_s},
        {8, 0.0001, 100.0, u"2,400.00"_s},
        {0, 0.0001, 1.0, QString()},
        {9, 0.0001, 1.0, QString()},
    };
    for (const TextCase& each : cases)
        EXPECT_EQ(formatterFor(each.units, each.precision).stringForObjectValue(each.seconds), each.text)
            << each.units << " at " << each.seconds;
}

TEST(TimeFormatterTest, WritesTimesBeforeZeroAsTheirMagnitudeWithAMinus)
{
    const std::vector<TextCase> cases{
        {1, 0.1, -3725.5, u"-1:02'05.5"_s}, {1, 0.1, -0.01, u"0'00.0"_s}, {2, 0.1, -1234.5, u"-1,234.5000"_s},
        {2, 0.1, -0.00001, u"0.0000"_s},    {3, 0.1, -1.0, u"-44,100"_s}, {4, 1.0, -1.5, u"-0'01\"15"_s},
        {7, 0.1, -0.5, u"-0' 12.000"_s},    {8, 0.1, -0.0, u"0.00"_s},
    };
    for (const TextCase& each : cases)
        EXPECT_EQ(formatterFor(each.units, each.precision).stringForObjectValue(each.seconds), each.text);
}

TEST(TimeFormatterTest, EveryDoubleIsSafeAndNaNAndInfinityHaveNoText)
{
    for (int64_t units = 1; units <= 8; ++units) {
        const TimeFormatter formatter = formatterFor(units);
        for (const double none : {kNaN, kInfinity, -kInfinity})
            EXPECT_TRUE(formatter.stringForObjectValue(none).isNull()) << units;
        for (const double huge : {9007199254740993.0, 1e18, 1e300, 5e-324}) {
            EXPECT_FALSE(formatter.stringForObjectValue(huge).isEmpty()) << units;
            EXPECT_FALSE(formatter.stringForObjectValue(-huge).isEmpty()) << units;
        }
        const QString largest = formatter.stringForObjectValue(std::numeric_limits<double>::max());
        EXPECT_FALSE(largest.contains(u"inf"_s) || largest.contains(u"nan"_s)) << units;
    }
    EXPECT_EQ(formatterFor(1, 1.0).stringWithTime(3600.0 * 1e12), u"1000000000000:00'00"_s);
    EXPECT_TRUE(formatterFor(4).stringWithTime(1.0, 0.0).isNull());
    EXPECT_TRUE(formatterFor(4).stringWithTime(1.0, kNaN).isNull());
    EXPECT_FALSE(formatterFor(4).stringWithTime(0.5, 1e300).isNull());
}

TEST(TimeFormatterTest, TakesTheMarksOfTheLocale)
{
    EXPECT_EQ(formatterFor(2, 0.1, kGerman).stringForObjectValue(1234567.5), u"1.234.567,5000"_s);
    EXPECT_EQ(formatterFor(2, 0.1, kFrench).stringForObjectValue(1234567.5), u"1\u202F234\u202F567,5000"_s);
    EXPECT_EQ(formatterFor(3, 0.1, kGerman).stringForObjectValue(1.0), u"44.100"_s);
    EXPECT_EQ(formatterFor(1, 0.1, kFrench).stringForObjectValue(3725.5), u"1:02'05,5"_s);
    EXPECT_EQ(formatterFor(4, 0.1, kGerman).stringForObjectValue(1.25), u"0'01\"07,5"_s);
    EXPECT_EQ(formatterFor(7, 0.1, kGerman).stringForObjectValue(10.0), u"15' 0.000"_s);
}

TEST(TimeFormatterTest, GroupsAsTheLocaleLibraryDoes)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<double> exponent(-5.0, 12.0);
    for (const QLocale& locale : {kEnglish, kGerman, kFrench}) {
        const NumberFormatter numbers(locale);
        for (int i = 0; i < 500; ++i) {
            const double value = std::pow(10.0, exponent(random));
            const int numDecimals = i % 5;
            EXPECT_EQ(numbers.stringFromNumber(value, numDecimals), locale.toString(value, 'f', numDecimals));
        }
    }
}

struct ValueCase {
    int64_t units;
    QString text;
    std::optional<double> seconds;
};

void expectValues(const std::vector<ValueCase>& cases, const QLocale& locale)
{
    for (const ValueCase& each : cases) {
        const auto value = formatterFor(each.units, 0.0001, locale).getValue(each.text);
        ASSERT_EQ(value.has_value(), each.seconds.has_value())
            << each.units << ' ' << each.text.toStdString();
        EXPECT_NEAR(value.value_or(0.0), each.seconds.value_or(0.0), 1e-9)
            << each.units << ' ' << each.text.toStdString();
    }
}

TEST(TimeFormatterTest, ReadsWhatPeopleType)
{
    expectValues(
        {
            {1, u"5"_s, 5.0},
            {1, u" 1'30.5 "_s, 90.5},
            {1, u"1 : 02 : 05.5"_s, 3725.5},
            {1, u"1 30"_s, 90.0},
            {1, u"90'00"_s, 5400.0},
            {1, u"-1:00'00"_s, -3600.0},
            {1, u"\u22121'30"_s, -90.0},
            {1, u"+.5"_s, 0.5},
            {2, u"1,234.5"_s, 1234.5},
            {2, u"1234.5"_s, 1234.5},
            {2, u"-1,234,567"_s, -1234567.0},
            {3, u"44,100"_s, 1.0},
            {7, u"15'"_s, 10.0},
            {7, u"15' 12"_s, 10.5},
            {7, u"-15' 12.000"_s, -10.5},
            {7, u"12"_s, 0.5},
            {8, u"2,400.00"_s, 100.0},
        },
        kEnglish);
    expectValues(
        {
            {1, u"1'30,5"_s, 90.5},
            {1, u"1'30.500"_s, 90.5},
            {2, u"1.234,5"_s, 1234.5},
            {2, u"1.234"_s, 1234.0},
            {2, u"1.5"_s, {}},
            {7, u"15' 3.500"_s, 10.0 + 3.5 / 24.0},
            {7, u"15' 3,5"_s, 10.0 + 3.5 / 24.0},
        },
        kGerman);
    expectValues(
        {
            {2, u"1\u202F234,5"_s, 1234.5},
            {2, u"1\u00A0234,5"_s, 1234.5},
            {2, u"1 234,5"_s, 1234.5},
            {2, u"0.5"_s, 0.5},
            {3, u"44 100"_s, 1.0},
        },
        kFrench);
}

TEST(TimeFormatterTest, RefusesWhatIsNoTime)
{
    for (const QString& text : {u""_s, u" "_s, u"-"_s, u"."_s, u"abc"_s, u"nan"_s, u"inf"_s, u"-infinity"_s,
                                u"1e5"_s, u"0x10"_s, u"5s"_s, u"--5"_s, u"1..5"_s, QString(400, u'9')})
        for (const int64_t units : {1, 2, 3, 7, 8})
            EXPECT_FALSE(formatterFor(units).getValue(text)) << units << ' ' << text.toStdString();
    expectValues({{1, u"1:2:3:4"_s, {}},
                  {1, u"1::2"_s, {}},
                  {1, u"1'"_s, {}},
                  {1, u"1'-30"_s, {}},
                  {2, u"1:30"_s, {}},
                  {2, u"1,5"_s, {}},
                  {2, u"1234,567"_s, {}},
                  {2, u"1,2345"_s, {}},
                  {2, u",123"_s, {}},
                  {7, u"1' 2' 3"_s, {}},
                  {0, u"1"_s, {}}},
                 kEnglish);
    TimeFormatter withoutRate = formatterFor(3);
    withoutRate.setSampleRate(0.0);
    EXPECT_FALSE(withoutRate.getValue(u"1"));
}

TEST(TimeFormatterTest, ReadsTimeAndFramesFieldByField)
{
    const std::vector<ValueCase> cases{
        {4, u"15"_s, 0.5},
        {4, u"0'01\"15"_s, 1.5},
        {4, u"1:01'01\"07.5"_s, 3661.25},
        {4, u"1 2 3 15"_s, 3723.5},
        {4, u"-0'01\"15"_s, -1.5},
        {5, u"0:05"_s, 0.2},
        {6, u"0'00\"12"_s, 0.5},
        // Without the last field the value is what was read before it.
        {4, u"0'01\""_s, 1.0},
        {4, u"1:30:x"_s, 90.0},
        {4, u"1: 30"_s, 90.0},
        {4, u"x:15"_s, {}},
        {4, u"\"'"_s, {}},
        {4, u""_s, {}},
        {4, u"nan"_s, {}},
        {4, QString(400, u'9'), {}},
    };
    expectValues(cases, kEnglish);
    EXPECT_FALSE(formatterFor(4).getValue(u"15", 0.0));
}

TEST(TimeFormatterTest, ReadingAWrittenTimeAndWritingItAgainGivesTheSameText)
{
    // Half a step of what each unit shows, in seconds; 0.25 is itself rounded to a decimal. The precision of
    // time and frames counts frames, 24 to 30 a second, and is no finer than the tenth shown.
    const auto resolution = [](int64_t units, double precision) {
        switch (units) {
        case 1:
            return precision / 2.0 + (precision == 0.25 ? 0.05 : 0.0);
        case 3:
            return 0.5 / 44100.0;
        case 2:
            return 0.00005;
        case 7:
            return 0.0005 / 24.0;
        case 8:
            return 0.005 / 24.0;
        default:
            return (std::max(precision, 0.1) / 2.0 + (precision < 1.0 ? 0.05 : 0.0)) / 24.0;
        }
    };
    std::mt19937 random(2);
    std::uniform_real_distribution<double> exponent(-4.0, 6.0);
    for (const QLocale& locale : {kEnglish, kGerman, kFrench})
        for (int64_t units = 1; units <= 8; ++units)
            for (const double precision : {0.0001, 0.001, 0.005, 0.01, 0.05, 0.1, 0.25, 0.5, 1.0, 10.0})
                for (int i = 0; i < 60; ++i) {
                    const double seconds = (i % 2 == 0 ? 1.0 : -1.0) * std::pow(10.0, exponent(random));
                    const TimeFormatter formatter = formatterFor(units, precision, locale);
                    const QString text = formatter.stringForObjectValue(seconds);
                    const auto value = formatter.getValue(text);
                    ASSERT_TRUE(value) << units << ' ' << text.toStdString();
                    ASSERT_EQ(formatter.stringForObjectValue(*value), text) << units << ' ' << precision;
                    ASSERT_NEAR(*value, seconds, resolution(units, precision) + 1e-9) << text.toStdString();
                }
}

} // namespace

} // namespace velloria
