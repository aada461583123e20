#include "display/TimeSnapper.h"

#include "display/WaveformViewGeometry.h"

#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace velloria
{

namespace
{

/// 1024 frames a second at 8 frames a pixel, so that 128 pixels are one second and all numbers are exact.
class TimeSnapperTest : public testing::Test
{
protected:
    TimeSnapperTest()
    {
        view.setSampleRate(1024.0);
        view.setViewWidth(800.0);
        view.setTotalTime(600.0);
        view.setZoom(8.0);
        settings.snapsToMarkers = false;
    }

    double snapped(double time, int track = 0)
    {
        TimeSnapper snapper(view);
        snapper.setSettings(settings);
        snapper.setMarkers(std::make_shared<const std::vector<AudioMarkerPtr>>(markers));
        snapper.setNearestZeroCrossing([this](double within, double to, int searchedTrack) {
            lastWithin = within;
            lastTrack = searchedTrack;
            return to + 0.001;
        });
        return snapper.applySnapsWithInitialTime(time, track, dragged);
    }

    void setMarkers(std::initializer_list<int64_t> positions)
    {
        markers.clear();
        for (const int64_t position : positions)
            markers.push_back(std::make_shared<AudioMarker>(0, position, QString()));
    }

    static constexpr double kPixel = 1.0 / 128.0;

    WaveformViewGeometry view;
    SnapSettings settings;
    std::vector<AudioMarkerPtr> markers;
    AudioMarkerPtr dragged;
    double lastWithin = 0.0;
    int lastTrack = -1;
};

TEST_F(TimeSnapperTest, TakesTheFirstMarkerWithinEightPixels)
{
    setMarkers({1024, 1024 + 8, 5120});
    EXPECT_EQ(snapped(1.0 + 2.0 * kPixel), 1.0 + 2.0 * kPixel);
    settings.snapsToMarkers = true;
    EXPECT_EQ(snapped(1.0 + 8.0 * kPixel), 1.0);
    EXPECT_EQ(snapped(1.0 - 8.0 * kPixel), 1.0);
    // The order counts, not the distance; out of reach of the first, the second is taken.
    EXPECT_EQ(snapped(1.0 + kPixel), 1.0);
    EXPECT_EQ(snapped(1.0 + 9.0 * kPixel), 1.0 + kPixel);
    EXPECT_EQ(snapped(1.0 - 8.5 * kPixel), 1.0 - 8.5 * kPixel);
    EXPECT_EQ(snapped(5.0), 5.0);
    EXPECT_EQ(snapped(1000.0), 1000.0);
    // What is dragged does not snap to itself, but to what stands beside it and at the same frame.
    dragged = markers[0];
    EXPECT_EQ(snapped(1.0), 1.0 + kPixel);
    EXPECT_EQ(snapped(1.0 - 8.0 * kPixel), 1.0 - 8.0 * kPixel);
    dragged = markers[1];
    EXPECT_EQ(snapped(1.0 + kPixel), 1.0);
    EXPECT_EQ(snapped(1.0 + 9.0 * kPixel), 1.0 + 9.0 * kPixel);
    setMarkers({1024, 1024});
    dragged = markers[0];
    EXPECT_EQ(snapped(1.0 + kPixel), 1.0);
}

TEST_F(TimeSnapperTest, TakesAGridLineWithinSixteenPixels)
{
    settings.snapsToGrid = true;
    settings.gridSpacingValue = 0.5;
    settings.gridOffsetValue = 0.125;
    EXPECT_EQ(snapped(0.625 + 16.0 * kPixel), 0.625);
    EXPECT_EQ(snapped(0.625 - 16.0 * kPixel), 0.625);
    EXPECT_EQ(snapped(0.625 + 17.0 * kPixel), 0.625 + 17.0 * kPixel);
    EXPECT_EQ(snapped(-0.375), -0.375);

    setMarkers({1024 / 2});
    settings.snapsToMarkers = true;
    EXPECT_EQ(snapped(0.5 + 8.0 * kPixel), 0.5);
    settings.snapsToGrid = false;
    EXPECT_EQ(snapped(0.625), 0.625);
}

TEST_F(TimeSnapperTest, AsksForAZeroCrossingLast)
{
    settings.snapsToZeroCrossings = true;
    EXPECT_EQ(snapped(2.0, 1), 2.001);
    EXPECT_EQ(lastTrack, 1);
    EXPECT_EQ(lastWithin, 10.0 * kPixel);
    view.setZoom(1024.0);
    snapped(2.0);
    EXPECT_EQ(lastWithin, 1.0);

    settings.snapsToGrid = true;
    settings.gridSpacingValue = 1.0;
    lastTrack = -1;
    EXPECT_EQ(snapped(2.0), 2.0);
    EXPECT_EQ(lastTrack, -1);
    TimeSnapper withoutSearch(view);
    SnapSettings onlyZeroCrossings;
    onlyZeroCrossings.snapsToZeroCrossings = true;
    withoutSearch.setSettings(onlyZeroCrossings);
    EXPECT_EQ(withoutSearch.applySnapsWithInitialTime(2.5, 0), 2.5);
}

TEST_F(TimeSnapperTest, KeepsTheTimeWhereTheGridHasNoLines)
{
    settings.snapsToGrid = true;
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (const double spacing : {0.0, -1.0, kInfinity, std::numeric_limits<double>::quiet_NaN()}) {
        settings.gridSpacingValue = spacing;
        EXPECT_EQ(snapped(0.01), 0.01) << spacing;
    }
    settings.gridSpacingValue = 0.0;
    settings.gridSpacingUnits = SnapSettings::kBeatsPerMinute;
    EXPECT_EQ(snapped(0.01), 0.01);
    EXPECT_EQ(snapped(kInfinity), kInfinity);
}

TEST(SnapSettingsTest, ReadsSpacingAndOffsetInTheirUnits)
{
    struct Case {
        int64_t units;
        double value;
        double spacing;
        double offset;
    };
    for (const Case& each : {Case{SnapSettings::kSamples, 22050.0, 0.5, 0.5},
                             Case{SnapSettings::kBeatsPerMinute, 120.0, 0.5, 120.0},
                             Case{SnapSettings::kBeatsPerMinute, 0.0, 0.0, 0.0},
                             Case{SnapSettings::kSeconds, 2.5, 2.5, 2.5}, Case{77, 2.5, 2.5, 2.5}}) {
        SnapSettings settings;
        settings.gridSpacingUnits = settings.gridOffsetUnits = each.units;
        settings.gridSpacingValue = settings.gridOffsetValue = each.value;
        EXPECT_EQ(settings.gridSpacing(44100.0), each.spacing);
        EXPECT_EQ(settings.gridOffset(44100.0), each.offset);
    }
}

} // namespace

} // namespace velloria
