#include "display/WaveformViewGeometry.h"

#include "display/WaveformViewObserver.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace velloria
{

namespace
{

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Ten minutes at 44.1 kHz in a view of 800 pixels with margins of 20; at zoom 441 a second is 100 pixels.
WaveformViewGeometry tenMinutes(double zoom = 441.0)
{
    WaveformViewGeometry view;
    view.setSampleRate(44100.0);
    view.setMargin(20.0);
    view.setViewWidth(800.0);
    view.setTotalTime(600.0);
    view.setZoom(zoom);
    view.setScrollPosition(0.0);
    return view;
}

class Recorder : public WaveformViewObserver
{
public:
    void willScroll(WaveformViewGeometry&) override { ++numWillScroll; }
    void scrolled(WaveformViewGeometry&) override { ++numScrolled; }
    void didSetZoom(WaveformViewGeometry&, double anchorX) override { anchors.push_back(anchorX); }
    void zoomDidChange(WaveformViewGeometry&) override { ++numZoomDidChange; }

    int numWillScroll = 0;
    int numScrolled = 0;
    int numZoomDidChange = 0;
    std::vector<double> anchors;
};

TEST(WaveformViewGeometryTest, ConvertsBetweenSecondsAndPixels)
{
    auto view = tenMinutes();
    EXPECT_DOUBLE_EQ(view.pixelsFromSeconds(1.0), 100.0);
    EXPECT_DOUBLE_EQ(view.secondsFromPixels(50.0), 0.5);
    view.setScrollPosition(1000.0);
    EXPECT_DOUBLE_EQ(view.revealedStartTime(), 10.0);
    EXPECT_DOUBLE_EQ(view.revealedEndTime(), 18.0);
    EXPECT_DOUBLE_EQ(view.timeAtX(50.0), 10.5);
    EXPECT_DOUBLE_EQ(view.xAtTime(10.5), 50.0);
    EXPECT_DOUBLE_EQ(view.minimumTime(), -0.2);
    EXPECT_DOUBLE_EQ(view.maximumTime(), 600.2);
}

TEST(WaveformViewGeometryTest, ScrollsBetweenTheMargins)
{
    auto view = tenMinutes();
    const std::vector<std::pair<double, double>> positions{
        {-1000.0, -20.0}, {100.4, 100.0}, {100.5, 101.0}, {1e9, 60000.0 + 20.0 - 800.0}, {-1e300, -20.0}};
    for (const auto& [asked, given] : positions) {
        view.setScrollPosition(asked);
        EXPECT_EQ(view.scrollPosition(), given);
    }
    view.setScrollPosition(kNaN);
    EXPECT_EQ(view.scrollPosition(), -20.0);

    // A document shorter than the view stays at its left margin.
    view.setTotalTime(1.0);
    view.setScrollPosition(500.0);
    EXPECT_EQ(view.scrollPosition(), -20.0);
}

TEST(WaveformViewGeometryTest, TellsObserversOfWhatChanged)
{
    auto view = tenMinutes();
    Recorder recorder;
    view.addObserver(&recorder);
    view.setScrollPosition(0.0);
    EXPECT_EQ(recorder.numWillScroll, 1);
    EXPECT_EQ(recorder.numScrolled, 0);
    view.scrollByPixels(30.0);
    EXPECT_EQ(recorder.numScrolled, 1);

    view.setSelection(3.0, 3.0);
    view.setZoom(882.0);
    EXPECT_EQ(recorder.anchors, std::vector{270.0});
    EXPECT_EQ(recorder.numZoomDidChange, 0);
    view.setRevealedStart(10.0, 18.0);
    EXPECT_EQ(recorder.anchors.size(), 2u);
    EXPECT_EQ(recorder.numZoomDidChange, 1);
    // The same zoom again is only a scroll.
    view.setRevealedStart(20.0, 28.0);
    EXPECT_EQ(recorder.numZoomDidChange, 1);
    view.fitInWindow();
    EXPECT_EQ(recorder.numZoomDidChange, 2);

    view.removeObserver(&recorder);
    const int numScrolled = recorder.numScrolled;
    view.setRevealedStart(5.0, 5.5);
    EXPECT_EQ(recorder.numScrolled, numScrolled);
}

TEST(WaveformViewGeometryTest, ShowsARange)
{
    auto view = tenMinutes();
    view.setRevealedStart(60.0, 76.0);
    EXPECT_DOUBLE_EQ(view.zoom(), 882.0);
    EXPECT_DOUBLE_EQ(view.revealedStartTime(), 60.0);

    // 10 ms would need a zoom of 0.55: centred at 1 instead.
    view.setRevealedStart(100.0, 100.01);
    EXPECT_EQ(view.zoom(), 1.0);
    EXPECT_NEAR(view.xAtTime(100.005), 400.0, 0.5);

    view.setRevealedStart(0.0, 1e9);
    EXPECT_EQ(view.zoom(), WaveformViewGeometry::kMaxZoom);
    const double scrollPosition = view.scrollPosition();
    view.setRevealedStart(kNaN, 1.0);
    view.setViewWidth(0.0);
    view.setRevealedStart(0.0, 1.0);
    EXPECT_EQ(view.zoom(), WaveformViewGeometry::kMaxZoom);
    EXPECT_EQ(view.scrollPosition(), scrollPosition);
}

TEST(WaveformViewGeometryTest, FitsTheDocumentBetweenTheMargins)
{
    auto view = tenMinutes();
    view.setSelection(300.0, 310.0);
    view.setScrollPosition(30000.0);
    view.fitInWindow();
    EXPECT_DOUBLE_EQ(view.zoom(), 600.0 * 44100.0 / 760.0);
    EXPECT_EQ(view.scrollPosition(), -20.0);
    EXPECT_NEAR(view.xAtTime(600.0), 780.0, 1e-6);

    view.setTotalTime(0.0);
    view.fitInWindow();
    EXPECT_EQ(view.zoom(), 1.0);
    view.setTotalTime(1e7);
    view.fitInWindow();
    EXPECT_EQ(view.zoom(), WaveformViewGeometry::kMaxZoom);
    EXPECT_EQ(view.scrollPosition(), -20.0);
    view.setViewWidth(10.0);
    view.fitInWindow();
    EXPECT_EQ(view.zoom(), WaveformViewGeometry::kMaxZoom);
}

struct AnchorCase {
    const char* name;
    double start;
    double end;
    std::optional<double> cue;
    double anchor;
};

TEST(WaveformViewGeometryTest, ZoomsAroundWhatMattersMost)
{
    // The view reveals 100 s to 108 s.
    const std::vector<AnchorCase> cases{
        {"whole selection", 101.0, 103.0, 107.0, 102.0},
        {"selection reversed", 103.0, 101.0, {}, 102.0},
        {"selection on both edges", 100.0, 108.0, {}, 104.0},
        {"insertion point", 106.0, 106.0, 101.0, 106.0},
        {"start in sight", 105.0, 200.0, 101.0, 105.0},
        {"end in sight", 50.0, 103.0, 101.0, 103.0},
        {"cue in sight", 50.0, 60.0, 101.0, 101.0},
        {"selection around the view", 50.0, 160.0, 101.0, 101.0},
        {"cue out of sight", 50.0, 60.0, 20.0, 104.0},
        {"no cue", 50.0, 60.0, {}, 104.0},
    };
    for (const AnchorCase& each : cases)
        for (const double zoom : {1.0, 100.0, 441.0, 700.0, 1800.0}) {
            auto view = tenMinutes();
            view.setScrollPosition(10000.0);
            view.setSelection(each.start, each.end);
            view.setCueTime(each.cue);
            const double x = view.xAtTime(each.anchor);
            view.setZoom(zoom);
            EXPECT_EQ(view.zoom(), zoom);
            EXPECT_NEAR(view.xAtTime(each.anchor), x, 0.5 + 1e-6) << each.name << " at zoom " << zoom;
        }
}

TEST(WaveformViewGeometryTest, KeepsTheTimeUnderThePointer)
{
    auto view = tenMinutes();
    view.setScrollPosition(10000.0);
    const double time = view.timeAtX(650.0);
    view.setZoomKeepingPixel(50.0, 650.0);
    EXPECT_NEAR(view.xAtTime(time), 650.0, 0.5 + 1e-6);

    // A pinch in many small steps does not creep away from where it began.
    for (int i = 0; i < 400; ++i) {
        view.setZoomKeepingTime(50.0 * std::pow(1.005, i), time, 650.0);
        ASSERT_NEAR(view.xAtTime(time), 650.0, 0.5 + 1e-6);
    }
}

TEST(WaveformViewGeometryTest, ScrollsToTimes)
{
    auto view = tenMinutes();
    view.centerViewOnTime(100.0);
    EXPECT_DOUBLE_EQ(view.revealedStartTime(), 96.0);
    view.setRevealedStart(50.0);
    EXPECT_DOUBLE_EQ(view.revealedStartTime(), 50.0);

    view.setSelection(50.0, 400.0);
    view.revealSelection();
    EXPECT_DOUBLE_EQ(view.revealedStartTime(), 50.0);
    view.setSelection(58.0, 58.0);
    view.revealSelection();
    EXPECT_DOUBLE_EQ(view.revealedStartTime(), 54.0);
    view.setSelection(53.99, 400.0);
    view.revealSelection();
    EXPECT_NEAR(view.xAtTime(53.99), 400.0, 0.5);
}

TEST(WaveformViewGeometryTest, ConstrainsTheViewAfterTheDocumentShrank)
{
    auto view = tenMinutes();
    view.setScrollPosition(50000.0);
    view.constrainRevealed();
    EXPECT_EQ(view.scrollPosition(), 50000.0);
    view.setTotalTime(100.0);
    view.constrainRevealed();
    EXPECT_EQ(view.scrollPosition(), 10000.0 + 20.0 - 800.0);
    view.setTotalTime(1.0);
    view.constrainRevealed();
    EXPECT_EQ(view.scrollPosition(), -20.0);
}

TEST(WaveformViewGeometryTest, RefusesWhatMakesNoSense)
{
    auto view = tenMinutes();
    for (const double bad : {kNaN, -1.0, std::numeric_limits<double>::infinity()}) {
        view.setSampleRate(bad);
        view.setMargin(bad);
        view.setViewWidth(bad);
        view.setTotalTime(bad);
    }
    view.setSampleRate(0.0);
    view.setSelection(kNaN, 1.0);
    view.setZoom(kNaN);
    view.setZoomKeepingPixel(10.0, kNaN);
    EXPECT_EQ(view.sampleRate(), 44100.0);
    EXPECT_EQ(view.margin(), 20.0);
    EXPECT_EQ(view.viewWidth(), 800.0);
    EXPECT_EQ(view.totalTime(), 600.0);
    EXPECT_EQ(view.selectionEnd(), 0.0);
    EXPECT_TRUE(std::isfinite(view.scrollPosition()));
    view.setZoom(0.0);
    EXPECT_EQ(view.zoom(), 1.0);
    view.setZoom(1e300);
    EXPECT_EQ(view.zoom(), WaveformViewGeometry::kMaxZoom);
}

/// One operation of random kind and arguments.
void operateAtRandom(WaveformViewGeometry& view, std::mt19937& random)
{
    const auto between = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    const double time = between(-10.0, view.totalTime() + 10.0);
    const double zoom = std::exp2(between(-2.0, 23.0));
    switch (std::uniform_int_distribution<int>(0, 9)(random)) {
    case 0:
        return view.setScrollPosition(between(-1e6, 1e6));
    case 1:
        return view.setZoom(zoom);
    case 2:
        return view.setZoomKeepingPixel(zoom, between(0.0, view.viewWidth()));
    case 3:
        return view.setRevealedStart(time, time + between(-1.0, 100.0));
    case 4:
        return view.fitInWindow();
    case 5:
        return view.centerViewOnTime(time);
    case 6:
        view.setSelection(time, between(0.0, view.totalTime()));
        return view.revealSelection();
    case 7:
        view.setTotalTime(between(0.0, 1000.0));
        return view.constrainRevealed();
    case 8:
        view.setViewWidth(std::floor(between(1.0, 2000.0)));
        return view.constrainRevealed();
    default:
        view.setCueTime(time);
        return view.scrollByPixels(between(-500.0, 500.0));
    }
}

TEST(WaveformViewGeometryTest, StaysWithinBoundsWhateverIsDone)
{
    auto view = tenMinutes();
    std::mt19937 random(3);
    for (int i = 0; i < 20000; ++i) {
        operateAtRandom(view, random);
        ASSERT_GE(view.zoom(), 1.0);
        ASSERT_LE(view.zoom(), WaveformViewGeometry::kMaxZoom);
        ASSERT_EQ(view.scrollPosition(), std::round(view.scrollPosition()));
        ASSERT_GE(view.scrollPosition(), -view.margin());
        const double documentWidth = view.pixelsFromSeconds(view.totalTime()) + 2.0 * view.margin();
        if (documentWidth > view.viewWidth())
            ASSERT_LE(view.revealedEndTime(), view.maximumTime() + view.secondsFromPixels(1.0 + 1e-6));
        else
            ASSERT_EQ(view.scrollPosition(), -view.margin());
    }
}

} // namespace

} // namespace velloria
