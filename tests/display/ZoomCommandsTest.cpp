#include "display/ZoomCommands.h"

#include "display/WaveformViewGeometry.h"

#include <gtest/gtest.h>

namespace velloria
{

namespace
{

class ZoomCommandsTest : public testing::Test
{
protected:
    ZoomCommandsTest()
    {
        view.setMargin(20.0);
        view.setViewWidth(800.0);
        view.setTotalTime(600.0);
        view.setZoom(441.0);
    }

    WaveformViewGeometry view;
    ZoomCommands commands{view};
};

TEST_F(ZoomCommandsTest, StepByTwoWithinTheBounds)
{
    commands.zoomIn();
    EXPECT_EQ(view.zoom(), 220.5);
    EXPECT_EQ(view.previousZoom(), 441.0);
    commands.zoomOut();
    EXPECT_EQ(view.zoom(), 441.0);
    EXPECT_EQ(view.previousZoom(), 220.5);
    commands.zoomTo(0);
    EXPECT_EQ(view.zoom(), 1.0);
    commands.zoomIn();
    EXPECT_EQ(view.zoom(), 1.0);
    commands.zoomTo(2097152);
    commands.zoomOut();
    EXPECT_EQ(view.zoom(), 2097152.0);
}

TEST_F(ZoomCommandsTest, SwapWithThePreviousZoom)
{
    commands.zoomTo(100);
    commands.previousZoom();
    EXPECT_EQ(view.zoom(), 441.0);
    EXPECT_EQ(view.previousZoom(), 100.0);
    commands.previousZoom();
    EXPECT_EQ(view.zoom(), 100.0);
    EXPECT_EQ(view.previousZoom(), 441.0);
}

TEST_F(ZoomCommandsTest, ShowTheSelectionWithATwentiethAround)
{
    view.setSelection(120.0, 100.0);
    commands.zoomToSelection();
    EXPECT_DOUBLE_EQ(view.zoom(), 44100.0 * 22.0 / 800.0);
    EXPECT_NEAR(view.xAtTime(99.0), 0.0, 0.5);
    EXPECT_NEAR(view.xAtTime(121.0), 800.0, 0.5);
    EXPECT_EQ(view.previousZoom(), 441.0);

    view.setSelection(50.0, 50.0);
    commands.zoomToSelection();
    EXPECT_EQ(view.zoom(), 1.0);
    EXPECT_NEAR(view.xAtTime(50.0), 400.0, 0.5);
}

TEST_F(ZoomCommandsTest, FallBackFromTheDefaultZoomToFittingAndTo1024)
{
    commands.zoomToDefault(256);
    EXPECT_EQ(view.zoom(), 256.0);
    EXPECT_EQ(view.previousZoom(), 441.0);
    commands.zoomToDefault(0);
    EXPECT_DOUBLE_EQ(view.zoom(), 600.0 * 44100.0 / 760.0);
    EXPECT_EQ(view.previousZoom(), 256.0);
    view.setTotalTime(0.0);
    commands.zoomToDefault(-1);
    EXPECT_EQ(view.zoom(), 1024.0);
    commands.fitInWindow();
    EXPECT_EQ(view.zoom(), 1.0);
    EXPECT_EQ(view.previousZoom(), 1024.0);
}

TEST_F(ZoomCommandsTest, MoveTheSliderUpWhenZoomingIn)
{
    commands.setZoom(1024.0);
    EXPECT_EQ(commands.zoomSliderValue(), -10.0);
    commands.zoomIn();
    EXPECT_EQ(commands.zoomSliderValue(), -9.0);
    const double previousZoom = view.previousZoom();
    commands.setZoomSliderValue(-3.0);
    EXPECT_EQ(view.zoom(), 8.0);
    commands.setZoomSliderValue(-100.0);
    EXPECT_EQ(commands.zoomSliderValue(), -21.0);
    EXPECT_EQ(view.previousZoom(), previousZoom);
}

} // namespace

} // namespace velloria
