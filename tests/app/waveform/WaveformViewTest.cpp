#include "app/waveform/WaveformView.h"

#include "app/kit/AppTestKit.h"
#include "app/kit/FakeSubject.h"
#include "app/waveform/MarkerLane.h"
#include "app/waveform/OverviewStrip.h"
#include "app/waveform/RulerWidget.h"

#include <QNativeGestureEvent>
#include <QPointingDevice>
#include <QWheelEvent>

namespace velloria::test
{

class WaveformViewTest : public testing::Test
{
protected:
    WaveformViewTest()
    {
        subject.selectionChanged = [this] { view->context().selectionDidChange(); };
        subject.cueChanged = [this] { view->context().cueDidChange(); };
        showView();
    }

    void showView()
    {
        view = std::make_unique<WaveformView>(subject);
        view->resize(900, 420);
        view->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(view.get()));
        view->context().zoomToDefault();
    }

    WaveformWidget& waveform() { return view->waveform(); }
    WaveformViewGeometry& geometry() { return view->context().geometry(); }
    QPoint pointAt(double time, double share) const
    {
        const WaveformViewGeometry& place = view->context().geometry();
        return {static_cast<int>(std::lround(place.xAtTime(time))),
                static_cast<int>(view->waveform().height() * share)};
    }
    double pixel() { return geometry().secondsFromPixels(1); }

    /// How many rows of a pixel column show the sound's colours.
    int inkAt(double time)
    {
        const QImage image = waveform().grab().toImage();
        const Theme& theme = view->context().theme();
        const int x = static_cast<int>(std::lround(geometry().xAtTime(time) * image.devicePixelRatio()));
        int ink = 0;
        for (int y = 0; y < image.height(); ++y) {
            const QColor color = image.pixelColor(x, y);
            const bool isSound = std::abs(color.hslHue() - theme.waveform.hslHue()) < 20 &&
                                 color.lightness() < theme.waveformPeak.lightness() + 10;
            ink += isSound ? 1 : 0;
        }
        return static_cast<int>(ink / image.devicePixelRatio());
    }

    void drag(QPoint from, QPoint to, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::mousePress(&waveform(), Qt::LeftButton, modifiers, from);
        QTest::mouseMove(&waveform(), (from + to) / 2);
        QMouseEvent move(QEvent::MouseMove, to, waveform().mapToGlobal(to), Qt::NoButton, Qt::LeftButton,
                         modifiers);
        QApplication::sendEvent(&waveform(), &move);
        QTest::mouseRelease(&waveform(), Qt::LeftButton, modifiers, to);
    }

    void wheel(QPoint at, QPoint angle, Qt::KeyboardModifiers modifiers)
    {
        QWheelEvent event(at, waveform().mapToGlobal(at), {}, angle, Qt::NoButton, modifiers,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(&waveform(), &event);
    }

    FakeSubject subject;
    std::unique_ptr<WaveformView> view;
};

TEST_F(WaveformViewTest, InkIsAsHighAsTheSoundIsLoud)
{
    subject.level = [](int32_t, double frame) { return frame < 220500 ? 0.8 : 0.0; };
    view->context().documentDidReload();
    const double fullScale = waveform().layoutOfLanes().fullScale();
    EXPECT_NEAR(inkAt(2.0), 2 * 2 * 0.8 * fullScale, 6);
    // Silence is a thin line in each lane.
    EXPECT_LE(inkAt(8.0), 4);
    EXPECT_GE(inkAt(8.0), 2);
    keepPicture(*view, QStringLiteral("loud-then-silent"));
}

TEST_F(WaveformViewTest, WhatIsNotKnownYetIsNotDrawnUntilItIs)
{
    subject.knownFrames = 220500;
    view->context().documentDidReload();
    EXPECT_GT(inkAt(2.0), 50);
    EXPECT_EQ(inkAt(8.0), 0);
    subject.knownFrames = INT64_MAX;
    for (int64_t frame = 220500; frame < subject.length; frame += 2048)
        view->context().framesDidChange(frame, 2048);
    EXPECT_TRUE(waitUntil([this] { return inkAt(8.0) > 50; }));
}

TEST_F(WaveformViewTest, LinesJoinSamplesWhenZoomedInAllTheWay)
{
    subject.level = [](int32_t, double frame) { return std::fmod(frame, 40) < 20 ? 0.6 : -0.6; };
    view->context().documentDidReload();
    view->context().zoomCommands().zoomTo(1);
    keepPicture(*view, QStringLiteral("samples"));
    // A line in each lane, not a filled shape; where the sound jumps the line is as high as the jump.
    const auto xOfFrame = [this](int frame) { return geometry().xAtTime(frame / 44100.0); };
    const int ink = inkAt(geometry().timeAtX(xOfFrame(410)));
    EXPECT_LE(ink, 8);
    EXPECT_GE(ink, 2);
    EXPECT_GT(inkAt(geometry().timeAtX(xOfFrame(400))), 2 * 0.5 * waveform().layoutOfLanes().fullScale());
}

TEST_F(WaveformViewTest, ScrollingALongSoundAsksForTheNewColumnsOnly)
{
    subject.length = int64_t(44100) * 3600 * 10;
    view->context().documentDidReload();
    view->context().zoomCommands().zoomTo(4096);
    waveform().grab();
    subject.numColumnsAsked = 0;
    geometry().scrollByPixels(100);
    waveform().grab();
    const auto perTrack = static_cast<int64_t>(std::ceil(101 * waveform().devicePixelRatioF()));
    EXPECT_LE(subject.numColumnsAsked, 2 * perTrack);
    subject.numColumnsAsked = 0;
    subject.setSelection({100, 200, 0, 2});
    waveform().grab();
    EXPECT_EQ(subject.numColumnsAsked, 0);
}

TEST_F(WaveformViewTest, ScrolledPicturesEqualFreshOnes)
{
    subject.level = [](int32_t track, double frame) { return 0.4 + 0.3 * std::sin(frame / 3000.0 + track); };
    view->context().documentDidReload();
    view->context().zoomCommands().zoomTo(64);
    for (const double step : {37.0, -12.0, 300.0, -1.0, 5000.0, 1.0}) {
        geometry().scrollByPixels(step);
        const QImage scrolled = waveform().grab().toImage();
        view->context().documentDidReload();
        EXPECT_EQ(scrolled, waveform().grab().toImage()) << step;
    }
}

TEST_F(WaveformViewTest, ADragSelectsAllTracksOrOneAtTheEdgeOfALane)
{
    struct Case {
        const char* name;
        double share; ///< of the height
        Qt::KeyboardModifiers modifiers;
        int32_t firstTrack;
        int32_t numTracks;
    };
    const Case cases[] = {
        {"middle", 0.25, {}, 0, 2},
        {"top edge", 0.01, {}, 0, 1},
        {"bottom edge", 0.99, {}, 1, 1},
        {"Alt above", 0.25, Qt::AltModifier, 0, 1},
        {"Alt below", 0.75, Qt::AltModifier, 1, 1},
    };
    for (const Case& c : cases) {
        subject.setSelection({0, 0, 0, 2});
        drag(pointAt(2, c.share), pointAt(5, 0.5), c.modifiers);
        EXPECT_NEAR(subject.selected.startTime, 2, pixel()) << c.name;
        EXPECT_NEAR(subject.selected.endTime, 5, pixel()) << c.name;
        EXPECT_EQ(subject.selected.firstTrack, c.firstTrack) << c.name;
        EXPECT_EQ(subject.selected.numTracks, c.numTracks) << c.name;
    }
    // Backwards is the same range.
    drag(pointAt(5, 0.25), pointAt(2, 0.25));
    EXPECT_NEAR(subject.selected.startTime, 2, pixel());
    EXPECT_NEAR(subject.selected.endTime, 5, pixel());
    keepPicture(*view, QStringLiteral("selection"));
}

TEST_F(WaveformViewTest, ClicksPutTheCueExtendAndSelectAll)
{
    QTest::mouseClick(&waveform(), Qt::LeftButton, {}, pointAt(3, 0.25));
    EXPECT_NEAR(subject.cue, 3, pixel());
    EXPECT_EQ(subject.selected.startTime, subject.selected.endTime);
    QTest::mouseClick(&waveform(), Qt::LeftButton, Qt::ShiftModifier, pointAt(6, 0.25));
    EXPECT_NEAR(subject.selected.startTime, 3, pixel());
    EXPECT_NEAR(subject.selected.endTime, 6, pixel());
    // The nearer end moves.
    QTest::mouseClick(&waveform(), Qt::LeftButton, Qt::ShiftModifier, pointAt(4, 0.25));
    EXPECT_NEAR(subject.selected.startTime, 4, pixel());
    EXPECT_NEAR(subject.selected.endTime, 6, pixel());
    // An edge can be taken hold of.
    drag(pointAt(6, 0.25), pointAt(8, 0.25));
    EXPECT_NEAR(subject.selected.startTime, 4, pixel());
    EXPECT_NEAR(subject.selected.endTime, 8, pixel());
    QTest::mouseDClick(&waveform(), Qt::LeftButton, {}, pointAt(1, 0.25));
    EXPECT_EQ(subject.selected, (SoundSelection{0, 10, 0, 2}));
}

TEST_F(WaveformViewTest, ADragBeyondTheEdgeScrollsAndSelectsOn)
{
    view->context().zoomCommands().zoomTo(64);
    geometry().setScrollPosition(0);
    const QPoint start(200, waveform().height() / 4);
    const QPoint outside(waveform().width() + 60, start.y());
    QTest::mousePress(&waveform(), Qt::LeftButton, {}, start);
    QMouseEvent move(QEvent::MouseMove, outside, waveform().mapToGlobal(outside), Qt::NoButton,
                     Qt::LeftButton, {});
    QApplication::sendEvent(&waveform(), &move);
    EXPECT_TRUE(waitUntil([this] { return geometry().scrollPosition() > 100; }));
    QTest::mouseRelease(&waveform(), Qt::LeftButton, {}, outside);
    EXPECT_NEAR(subject.selected.startTime, geometry().secondsFromPixels(200), pixel());
    EXPECT_NEAR(subject.selected.endTime, geometry().timeAtX(waveform().width()), 20 * pixel());
    const double position = geometry().scrollPosition();
    QTest::qWait(60);
    EXPECT_EQ(geometry().scrollPosition(), position);
}

TEST_F(WaveformViewTest, KeysMoveTheCueAndExtendTheSelection)
{
    QTest::mouseClick(&waveform(), Qt::LeftButton, {}, pointAt(3, 0.25));
    const double start = subject.cue;
    QTest::keyClick(&waveform(), Qt::Key_Right);
    EXPECT_NEAR(subject.cue, start + pixel(), pixel() / 2);
    QTest::keyClick(&waveform(), Qt::Key_Left);
    EXPECT_NEAR(subject.cue, start, pixel() / 2);
    for (int i = 0; i < 5; ++i)
        QTest::keyClick(&waveform(), Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_NEAR(subject.selected.duration(), 5 * pixel(), pixel() / 2);
    // Back over the anchor, the selection turns round.
    for (int i = 0; i < 8; ++i)
        QTest::keyClick(&waveform(), Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_NEAR(subject.selected.endTime, start, pixel());
    EXPECT_NEAR(subject.selected.duration(), 3 * pixel(), pixel() / 2);
    QTest::keyClick(&waveform(), Qt::Key_End, Qt::ShiftModifier);
    EXPECT_NEAR(subject.selected.startTime, start, pixel());
    EXPECT_EQ(subject.selected.endTime, 10);
    QTest::keyClick(&waveform(), Qt::Key_Home);
    EXPECT_EQ(subject.cue, 0);
    EXPECT_EQ(subject.selected.duration(), 0);
}

TEST_F(WaveformViewTest, AtTheClosestZoomAnArrowMovesByOneFrame)
{
    view->context().zoomCommands().zoomTo(1);
    view->context().placeCue(1000 / 44100.0);
    QTest::keyClick(&waveform(), Qt::Key_Right);
    EXPECT_EQ(std::llround(subject.cue * 44100), 1001);
}

TEST_F(WaveformViewTest, TheWheelZoomsAroundThePointerAndScrolls)
{
    view->context().zoomCommands().zoomTo(256);
    geometry().centerViewOnTime(5);
    const double time = geometry().timeAtX(600);
    wheel({600, 50}, {0, 120}, Qt::ControlModifier);
    EXPECT_LT(geometry().zoom(), 256);
    EXPECT_NEAR(geometry().timeAtX(600), time, 2 * pixel());
    for (const QPoint& angle : {QPoint(0, -120), QPoint(-120, 0)}) {
        const double before = geometry().scrollPosition();
        wheel({600, 50}, angle, {});
        EXPECT_GT(geometry().scrollPosition(), before);
    }
}

TEST_F(WaveformViewTest, APinchZoomsAroundItsMiddle)
{
    view->context().zoomCommands().zoomTo(256);
    geometry().centerViewOnTime(5);
    const double time = geometry().timeAtX(300);
    const auto gesture = [this](Qt::NativeGestureType type, double value) {
        QNativeGestureEvent event(type, QPointingDevice::primaryPointingDevice(), 2, QPointF(300, 50),
                                  QPointF(300, 50), QPointF(300, 50), value, QPointF());
        QApplication::sendEvent(&waveform(), &event);
    };
    gesture(Qt::BeginNativeGesture, 0);
    for (int i = 0; i < 20; ++i)
        gesture(Qt::ZoomNativeGesture, 0.05);
    gesture(Qt::EndNativeGesture, 0);
    EXPECT_NEAR(geometry().zoom(), 256 / std::pow(1.05, 20), 1);
    EXPECT_NEAR(geometry().timeAtX(300), time, 2 * pixel());
}

TEST_F(WaveformViewTest, TheOverviewsFrameScrollsAndZooms)
{
    OverviewStrip& overview = view->overview();
    view->context().zoomCommands().zoomTo(64);
    geometry().setRevealedStart(1);
    const QRectF frame = overview.frameRect();
    EXPECT_NEAR(frame.left(), overview.width() * 0.1, 1.5);
    const auto point = [](double x) { return QPoint(static_cast<int>(x), 20); };
    const auto dragFrame = [&](double from, double to) {
        QTest::mousePress(&overview, Qt::LeftButton, {}, point(from));
        QMouseEvent move(QEvent::MouseMove, point(to), overview.mapToGlobal(point(to)), Qt::NoButton,
                         Qt::LeftButton, {});
        QApplication::sendEvent(&overview, &move);
        QTest::mouseRelease(&overview, Qt::LeftButton, {}, point(to));
    };
    dragFrame(frame.center().x(), frame.center().x() + overview.width() * 0.3);
    EXPECT_NEAR(geometry().revealedStartTime(), 4, 0.05);
    EXPECT_EQ(geometry().zoom(), 64);
    dragFrame(overview.frameRect().right(), overview.width() * 0.8);
    EXPECT_NEAR(geometry().revealedStartTime(), 4, 0.05);
    EXPECT_NEAR(geometry().revealedEndTime(), 8, 0.1);
    keepPicture(*view, QStringLiteral("overview"));
}

TEST_F(WaveformViewTest, MarkersAreShownWithNamesAndAttractTheCue)
{
    subject.allMarkers = {std::make_shared<AudioMarker>(1, 88200, QStringLiteral("Verse")),
                          std::make_shared<AudioMarker>(2, 220500, QStringLiteral("Chorus"))};
    view->context().markersDidChange();
    auto* const lane = view->findChild<MarkerLane*>();
    EXPECT_TRUE(lane->isVisible());
    QTest::qWait(20);
    QTest::mouseClick(&waveform(), Qt::LeftButton, {}, pointAt(2, 0.25) + QPoint(5, 0));
    EXPECT_EQ(subject.cue, 2.0);
    QTest::mouseClick(&waveform(), Qt::LeftButton, Qt::ControlModifier, pointAt(2, 0.25) + QPoint(5, 0));
    EXPECT_NEAR(subject.cue, 2.0 + 5 * pixel(), pixel());
    QTest::keyClick(&waveform(), Qt::Key_Right, Qt::ControlModifier);
    EXPECT_EQ(subject.cue, 5.0);
    QTest::mouseDClick(lane, Qt::LeftButton, {}, QPoint(pointAt(2, 0).x() + 3, 5));
    EXPECT_EQ(subject.selected, (SoundSelection{2, 5, 0, 2}));
    keepPicture(*view, QStringLiteral("markers"));
}

TEST_F(WaveformViewTest, ResizingAFittedViewKeepsItFitted)
{
    EXPECT_TRUE(view->context().isFitted());
    view->resize(1300, 420);
    EXPECT_TRUE(waitUntil([this] { return waveform().width() > 1000; }));
    EXPECT_TRUE(view->context().isFitted());
    view->context().zoomCommands().zoomTo(64);
    view->resize(900, 420);
    EXPECT_TRUE(waitUntil([this] { return waveform().width() < 1000; }));
    EXPECT_EQ(geometry().zoom(), 64);
}

TEST_F(WaveformViewTest, TheScrollBarReachesBothEndsOfADayOfSound)
{
    subject.rate = 192000;
    subject.length = int64_t(192000) * 3600 * 24;
    view->context().documentDidReload();
    view->context().zoomCommands().zoomTo(1);
    view->scrollBar().setValue(view->scrollBar().maximum());
    EXPECT_NEAR(geometry().revealedEndTime(), 86400, 0.01);
    view->scrollBar().setValue(0);
    EXPECT_EQ(geometry().scrollPosition(), -geometry().margin());
}

TEST_F(WaveformViewTest, ADarkPaletteMakesADarkPicture)
{
    view->setPalette(ThemePalettes::dark());
    const QColor background = waveform().grab().toImage().pixelColor(1, 1);
    EXPECT_LT(background.lightness(), 80);
    EXPECT_GT(inkAt(5), 50);
    keepPicture(*view, QStringLiteral("dark"));
}

} // namespace velloria::test
