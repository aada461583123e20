#include "display/TimeEntry.h"

#include <gtest/gtest.h>

namespace velloria
{

TEST(TimeEntry, TakesAnyUnitWhateverTheFormattersIs)
{
    struct Case {
        const char* text;
        double seconds;
    };
    const Case cases[] = {{"1.5 s", 1.5},     {"1.5s", 1.5},         {"250 ms", 0.25},  {"2 min", 120},
                          {"0.5 h", 1800},    {"4410 samples", 0.1}, {"441 smp", 0.01}, {"36 FF", 1.5},
                          {" 2 Seconds ", 2}, {"-1 s", -1}};
    TimeFormatter formatter((QLocale::c()));
    formatter.setSampleRate(44'100);
    for (int64_t units = kRulerUnitsMinutesAndSeconds; units <= kRulerUnitsFilmFrames; ++units) {
        formatter.setUnits(units);
        for (const Case& each : cases) {
            const auto time = timeFromEntry(formatter, QString::fromUtf8(each.text));
            ASSERT_TRUE(time) << each.text;
            EXPECT_DOUBLE_EQ(*time, each.seconds) << each.text;
        }
        for (const char* const wrong : {"", "s", "nan s", "inf", "1e999 s", "1 parsec", "min"})
            EXPECT_FALSE(timeFromEntry(formatter, QString::fromUtf8(wrong))) << wrong << " in unit " << units;
        for (const double seconds : {0.0, 1.5, 59.75, 3725.5, 86'400.25}) {
            const QString text = formatter.stringForObjectValue(seconds);
            const auto time = timeFromEntry(formatter, text);
            ASSERT_TRUE(time) << text.toStdString();
            EXPECT_EQ(formatter.stringForObjectValue(*time), text);
        }
    }
}

} // namespace velloria
