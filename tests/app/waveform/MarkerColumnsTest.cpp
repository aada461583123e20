#include "app/waveform/MarkerColumns.h"

#include "display/WaveformViewGeometry.h"

#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <random>

namespace velloria::test
{

TEST(MarkerColumns, HaveTheLastMarkerOfEachPixelInView)
{
    constexpr int64_t numFrames = 1'000'000;
    WaveformViewGeometry geometry;
    geometry.setSampleRate(1000);
    geometry.setTotalTime(static_cast<double>(numFrames) / 1000);
    geometry.setViewWidth(800);
    std::mt19937 generator(1);
    std::vector<AudioMarkerPtr> markers;
    for (int64_t frame = 0; frame < numFrames; frame += static_cast<int64_t>(generator() % 200))
        markers.push_back(std::make_shared<AudioMarker>(0, frame, QString()));
    for (const double zoom : {1.0, 64.0, 1250.0}) {
        for (const double start : {-20.0, 0.0, 333.0, 990.0}) {
            SCOPED_TRACE(testing::Message() << zoom << " from " << start);
            geometry.setZoom(zoom);
            geometry.setRevealedStart(start);
            std::map<double, AudioMarkerPtr> expected;
            AudioMarkerPtr before;
            for (const AudioMarkerPtr& marker : markers) {
                const double x = std::round(geometry.xAtTime(marker->secondsWithSampleRate(1000)));
                if (x >= 10 && x <= 500)
                    expected[x] = marker;
                else if (x < 10)
                    before = marker;
            }
            std::vector<PlacedMarker> placed = markersByPixel(markers, geometry, 10, 500);
            if (before) {
                ASSERT_FALSE(placed.empty());
                EXPECT_EQ(placed.front().marker, before);
                placed.erase(placed.begin());
            }
            ASSERT_EQ(placed.size(), expected.size());
            size_t i = 0;
            for (const auto& [x, marker] : expected) {
                EXPECT_EQ(placed[i].marker, marker) << x;
                EXPECT_EQ(placed[i++].x, x);
            }
        }
    }
}

} // namespace velloria::test
