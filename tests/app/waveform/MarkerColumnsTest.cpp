#include "app/waveform/MarkerColumns.h"

#include "display/WaveformViewGeometry.h"

#include <QImage>
#include <QPainter>
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

TEST(MarkerColumns, ManyLinesLookLikeSingleOnes)
{
    const QRect area(3, 0, 300, 50);
    std::vector<PlacedMarker> placed;
    for (int x = -20; x < 400; x += x % 7 == 0 ? 1 : 3)
        placed.push_back({nullptr, static_cast<double>(x)});
    for (const double ratio : {1.0, 2.0}) {
        QImage expected(QSize(320, 50) * ratio, QImage::Format_RGB32);
        expected.setDevicePixelRatio(ratio);
        expected.fill(Qt::gray);
        QImage painted = expected;
        QColor color(250, 120, 30, 150);
        QPainter one(&expected);
        for (const PlacedMarker& each : placed)
            if (each.x >= area.left() && each.x <= area.right())
                one.fillRect(QRectF(each.x, 0, 1, 50), color);
        QPainter all(&painted);
        paintMarkerLines(all, placed, area, color);
        one.end();
        all.end();
        int largest = 0;
        for (int y = 0; y < painted.height(); ++y)
            for (int x = 0; x < painted.width(); ++x)
                largest =
                    std::max(largest, std::abs(qGreen(painted.pixel(x, y)) - qGreen(expected.pixel(x, y))));
        EXPECT_LE(largest, 1) << "blending may round otherwise; at ratio " << ratio;
    }
}

} // namespace velloria::test
