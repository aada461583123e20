#include "formats/seams/SeamReport.h"

#include <gtest/gtest.h>

namespace velloria
{
namespace
{

TEST(SeamReport, TellsHowLongTheSoundIsThatIsEncodedOnceMore)
{
    struct Case {
        SeamReport report;
        const char* loss;
    };
    const Case cases[] = {
        {{}, ""},
        {{3456, 2}, "0.08 s around 2 cuts are encoded once more."},
        {{1, 1}, "0.01 s around 1 cut are encoded once more."},
        {{44100, 0}, "1.00 s are encoded once more."},
        {{44100 * 60 - 1, 3}, "1 min 0.0 s around 3 cuts are encoded once more."},
        {{44100 * 723 + 17640, 1}, "12 min 3.4 s around 1 cut are encoded once more."},
        {{int64_t{44100} * 7262, 10}, "2 h 1 min 2.0 s around 10 cuts are encoded once more."},
    };
    for (const Case& each : cases)
        EXPECT_EQ(each.report.loss(44100.0).toStdString(), each.loss);
}

} // namespace
} // namespace velloria
