#include "display/SpectrogramTiles.h"
#include "measurement/MeasurementKit.h"

#include <QCoreApplication>
#include <QElapsedTimer>

using namespace velloria;

namespace
{

constexpr double kRate = 44100.0;

TrackList listOf(const std::vector<FloatBuffer>& samples)
{
    return std::make_shared<const std::vector<AudioTrackPtr>>(kit::tracksOf(samples));
}

void waitFor(const std::function<bool()>& condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < 60000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    EXPECT_TRUE(condition());
}

/// The row with the highest level in a column.
size_t loudestRow(const std::vector<uint8_t>& levels, size_t column)
{
    const auto start = levels.begin() + static_cast<std::ptrdiff_t>(column * SpectrogramColumns::numRows);
    return static_cast<size_t>(std::max_element(start, start + SpectrogramColumns::numRows) - start);
}

TEST(SpectrogramColumns, ShowSinesAtTheirFrequencyAndLevelAtEveryRateAndZoom)
{
    for (const double rate : {8000.0, 44100.0, 192000.0}) {
        for (const bool isLogarithmic : {true, false}) {
            const FrequencyAxis axis{rate, isLogarithmic};
            const double frequency = rate * 0.11;
            const TrackList tracks = listOf({kit::sine(frequency, 0.1, 4.0, rate)});
            const SpectrogramColumns columns(axis);
            for (const double framesPerColumn : {0.5, 64.0, 700.3, 20000.0}) {
                const auto first = static_cast<int64_t>(rate / framesPerColumn);
                const std::vector<uint8_t> levels = columns.levels(*(*tracks)[0], first, 3, framesPerColumn);
                const size_t row = loudestRow(levels, 1);
                const double expected = axis.shareOf(frequency) * SpectrogramColumns::numRows;
                EXPECT_NEAR(static_cast<double>(row) + 0.5, expected, 1.6) << rate << " " << framesPerColumn;
                EXPECT_NEAR(levels[SpectrogramColumns::numRows + row], 255.0 * 100.0 / 120.0, 4.0);
            }
        }
    }
    for (const double share : {0.0, 0.3, 1.0})
        EXPECT_NEAR(FrequencyAxis().shareOf(FrequencyAxis().frequencyAt(share)), share, 1e-9);
}

TEST(SpectrogramTiles, AreComputedInTheBackgroundAndOnceAndAnewAfterAnEdit)
{
    int numTold = 0;
    SpectrogramTiles tiles([&] { ++numTold; });
    const FrequencyAxis axis{kRate, true};
    tiles.setSound(listOf({kit::sine(1000.0, 0.5, 3.0, kRate), kit::sine(5000.0, 0.5, 3.0, kRate)}), axis);
    const SpectrogramTiles::Key left{0, 200.0, 0};
    const SpectrogramTiles::Key right{1, 200.0, 1};
    EXPECT_FALSE(tiles.tile(left));
    tiles.want({left, right});
    waitFor([&] { return tiles.isComplete(); });
    EXPECT_EQ(numTold, 1);
    const SpectrogramTiles::TilePtr before = tiles.tile(left);
    ASSERT_TRUE(before && tiles.tile(right));
    EXPECT_LT(loudestRow(before->levels, 40), loudestRow(tiles.tile(right)->levels, 40));
    tiles.want({left, right});
    EXPECT_TRUE(tiles.isComplete());

    // The old picture stands until the new one is there.
    tiles.setSound(listOf({kit::sine(8000.0, 0.5, 3.0, kRate)}), axis);
    EXPECT_EQ(tiles.tile(left), before);
    tiles.want({left});
    waitFor([&] { return tiles.isComplete(); });
    EXPECT_GT(loudestRow(tiles.tile(left)->levels, 40), loudestRow(before->levels, 40));

    // On another axis it would be wrong.
    tiles.setSound(listOf({kit::sine(8000.0, 0.5, 3.0, kRate)}), {kRate, false});
    EXPECT_FALSE(tiles.tile(left));
}

TEST(SpectrogramTiles, KeepNoMoreThanTheyMayAndSurviveTheirViewsEnd)
{
    const TrackList tracks = listOf({FloatBuffer(1000, 0.25F)});
    {
        SpectrogramTiles tiles({});
        tiles.setSound(tracks, {kRate, true});
        std::vector<SpectrogramTiles::Key> keys;
        for (int64_t i = 0; i < static_cast<int64_t>(SpectrogramTiles::mostTiles) + 8; ++i)
            keys.push_back({0, 1.0, i});
        tiles.want(keys);
        waitFor([&] { return tiles.isComplete(); });
        EXPECT_FALSE(tiles.tile(keys.front()));
        EXPECT_TRUE(tiles.tile(keys.back()));
        tiles.want({{0, 2.0, 0}, {7, 2.0, 0}});
    }
    QCoreApplication::processEvents();
}

} // namespace
