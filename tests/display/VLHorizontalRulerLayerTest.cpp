#include "display/VLHorizontalRulerLayer.h"

#include "platform/Log.h"

#include <QLocale>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace velloria
{

namespace
{

using namespace Qt::Literals::StringLiterals;

VLHorizontalRulerLayer rulerFor(int64_t units, double sampleRate, double zoom)
{
    VLHorizontalRulerLayer ruler(QLocale(QStringLiteral("en_US")));
    ruler.setUnits(units);
    ruler.setSampleRate(sampleRate);
    ruler.setZoom(zoom);
    return ruler;
}

struct RulerCase {
    int64_t units;
    double sampleRate;
    double zoom;
    double value;
    double width;
    int divisions;
    int64_t index;
    QString label;
};

TEST(VLHorizontalRulerLayerTest, ChoosesTilesAndLabelsByUnitAndZoom)
{
    const std::vector<RulerCase> cases{
        {1, 44100, 1, 0.005, 220.5, 5, 3, u"0'00.015"_s},
        {1, 44100, 88.2, 0.5, 250, 5, 121, u"1'00.5"_s},
        {1, 44100, 441, 1, 100, 10, 3661, u"1:01'01"_s},
        {1, 48000, 480000, 900, 90, 3, 5, u"1:15'00"_s},
        {1, 48000, 576000, 3600, 300, 6, 5, u"5:00'00"_s},
        {99, 44100, 441, 1, 100, 10, 59, u"0'59"_s},
        {2, 44100, 441, 1, 100, 10, 1234, u"1,234"_s},
        {2, 44100, 1, 0.005, 220.5, 5, 1, u"0.005"_s},
        {2, 48000, 96, 0.5, 250, 5, 3, u"1.5"_s},
        {3, 44100, 100, 10000, 100, 10, 7, u"70k"_s},
        {3, 44100, 2, 500, 250, 5, 3, u"1,500"_s},
        {3, 44100, 16, 5000, 312.5, 5, 300, u"1,500k"_s},
        {3, 44100, 10000, 1000000, 100, 10, 12, u"12m"_s},
        {4, 48000, 6, 1.0 / 30.0, 800.0 / 3.0, 10, 31, u"0'01\"01"_s},
        {4, 48000, 2, 1.0 / 300.0, 80, 10, 309, u"0'01\"00.9"_s},
        {4, 48000, 150, 0.5, 160, 3, 3, u"0'01\"15"_s},
        {5, 48000, 48, 0.2, 200, 5, 6, u"0'01\"05"_s},
        {6, 48000, 48, 0.25, 250, 6, 5, u"0'01\"06"_s},
        {6, 48000, 6000, 60, 480, 6, 61, u"1:01'00\"00"_s},
        {7, 48000, 240, 2.0 / 3.0, 400.0 / 3.0, 8, 17, u"17'"_s},
        {7, 48000, 100, 2.0 / 3.0, 320, 16, 17, u"17'"_s},
        {7, 48000, 60, 1.0 / 3.0, 800.0 / 3.0, 8, 5, u"2' 8"_s},
        {7, 48000, 32, 1.0 / 6.0, 250, 4, 7, u"1' 12"_s},
        {7, 48000, 5, 1.0 / 48.0, 200, 5, 33, u"1' 0.5"_s},
        {7, 48000, 2, 1.0 / 240.0, 100, 10, 163, u"1' 0.3"_s},
        {7, 48000, 480, 20.0 / 3.0, 2000.0 / 3.0, 10, 3, u"30'"_s},
        {8, 48000, 20, 1, 100, 10, 1234, u"1,234"_s},
        {8, 48000, 40, 5, 250, 5, 3, u"15"_s},
        {8, 48000, 1, 0.1, 200, 10, 3, u"0.3"_s},
        {8, 96000, 1, 0.05, 200, 5, 3, u"0.15"_s},
    };
    for (const RulerCase& each : cases) {
        const auto ruler = rulerFor(each.units, each.sampleRate, each.zoom);
        SCOPED_TRACE(testing::Message() << "units " << each.units << " zoom " << each.zoom);
        EXPECT_DOUBLE_EQ(ruler.valuePerTile(), each.value);
        EXPECT_NEAR(ruler.tileWidth(), each.width, 1e-9);
        EXPECT_EQ(ruler.divisions(), each.divisions);
        EXPECT_EQ(ruler.stringForTileWithIndex(each.index), each.label)
            << ruler.stringForTileWithIndex(each.index).toStdString();
    }
}

TEST(VLHorizontalRulerLayerTest, LogsAFrameRateItHasNoTilesFor)
{
    auto ruler = rulerFor(4, 48000, 60);
    const LogCapture capture;
    ruler.timeAndFramesRulerSetUpWithFps(24);
    EXPECT_TRUE(capture.logged().isEmpty());
    ruler.timeAndFramesRulerSetUpWithFps(29.97);
    EXPECT_EQ(capture.logged(), QStringList{QStringLiteral("Unsupported frame rate")});
    EXPECT_DOUBLE_EQ(ruler.valuePerTile(), 0.1);
    EXPECT_DOUBLE_EQ(ruler.tileWidth(), 80);
    EXPECT_EQ(ruler.divisions(), 10);
}

/// Seconds that a label tells; the sample ruler's thousands and millions are written out first.
std::optional<double> secondsOfLabel(QString label, int64_t units, double sampleRate)
{
    double factor = 1.0;
    if (units == 3 && (label.endsWith(u'k') || label.endsWith(u'm'))) {
        factor = label.endsWith(u'k') ? 1000.0 : 1000000.0;
        label.chop(1);
    }
    TimeFormatter formatter(QLocale(QStringLiteral("en_US")));
    formatter.setUnits(units);
    formatter.setSampleRate(sampleRate);
    const auto value = formatter.getValue(label);
    return value ? std::optional(*value * factor) : std::nullopt;
}

/// Every label tells the very time at which its tile begins, differs from its neighbours and has room.
void checkRuler(const VLHorizontalRulerLayer& ruler, double maxTileWidth)
{
    EXPECT_LE(ruler.tileWidth(), maxTileWidth);
    const double firstPixel = 12345.0 * ruler.tileWidth() + 1.0;
    const auto tiles = ruler.tilesInRange(firstPixel, firstPixel + 1000.0);
    ASSERT_FALSE(tiles.empty());
    EXPECT_LE(tiles.front().x, firstPixel);
    EXPECT_GE(tiles.back().x + tiles.back().width, firstPixel + 999.0);
    const RulerTile* previous = nullptr;
    for (const RulerTile& tile : tiles) {
        EXPECT_DOUBLE_EQ(tile.x, static_cast<double>(tile.index) * ruler.tileWidth());
        if (tile.label.isEmpty())
            continue;
        const double seconds = tile.x * ruler.zoom() / ruler.sampleRate();
        const auto told = secondsOfLabel(tile.label, ruler.units(), ruler.sampleRate());
        ASSERT_TRUE(told) << tile.label.toStdString();
        EXPECT_NEAR(*told, seconds, seconds * 1e-9) << tile.label.toStdString();
        if (previous) {
            EXPECT_NE(tile.label, previous->label);
            EXPECT_GE(tile.x - previous->x, 45.0 - 1e-6);
        }
        previous = &tile;
    }
}

TEST(VLHorizontalRulerLayerTest, LabelsTellTheirTilesTimeAtEveryZoom)
{
    for (const double sampleRate : {8000.0, 11025.0, 44100.0, 48000.0, 96000.0, 192000.0, 384000.0})
        for (int64_t units = 1; units <= 8; ++units)
            for (double zoom = 1.0; zoom <= 2097152.0; zoom *= 1.13) {
                SCOPED_TRACE(testing::Message()
                             << "units " << units << " zoom " << zoom << " rate " << sampleRate);
                checkRuler(rulerFor(units, sampleRate, zoom), sampleRate > 192000.0 ? 1601.0 : 834.0);
                if (testing::Test::HasFailure())
                    return;
            }
}

TEST(VLHorizontalRulerLayerTest, GivesTheTilesThatTouchARange)
{
    const auto ruler = rulerFor(1, 44100, 441);
    const auto indices = [&](double first, double end) {
        std::vector<int64_t> result;
        for (const RulerTile& tile : ruler.tilesInRange(first, end))
            result.push_back(tile.index);
        return result;
    };
    using Indices = std::vector<int64_t>;
    EXPECT_EQ(indices(-20, 150), (Indices{0, 1}));
    EXPECT_EQ(indices(100, 200), (Indices{1}));
    EXPECT_EQ(indices(199.5, 300.5), (Indices{1, 2, 3}));
    EXPECT_EQ(indices(-200, -10), Indices{});
    EXPECT_EQ(indices(200, 100), Indices{});
    EXPECT_EQ(indices(std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()),
              Indices{});

    const RulerTile tile = ruler.tilesInRange(100, 200).front();
    ASSERT_EQ(tile.ticks.size(), 10u);
    for (size_t i = 0; i < tile.ticks.size(); ++i) {
        EXPECT_DOUBLE_EQ(tile.ticks[i].x, 100.0 + 10.0 * static_cast<double>(i));
        EXPECT_EQ(tile.ticks[i].isMajor, i == 0);
    }
}

TEST(VLHorizontalRulerLayerTest, RefusesZoomsAndRatesThatMakeNoTiles)
{
    auto ruler = rulerFor(3, 44100, 100);
    for (const double bad :
         {0.0, -1.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        ruler.setZoom(bad);
        ruler.setSampleRate(bad);
    }
    EXPECT_EQ(ruler.zoom(), 100.0);
    EXPECT_EQ(ruler.sampleRate(), 44100.0);
    EXPECT_EQ(ruler.tileWidth(), 100.0);
}

} // namespace

} // namespace velloria
