#include "Classes/CoreAudio/AudioPreferences.h"
#include "app/kit/AppTestKit.h"
#include "app/menus/TransportActions.h"
#include "app/preferences/Settings.h"
#include "app/progress/MessageBar.h"
#include "app/transport/LoudnessView.h"
#include "app/transport/OutputLevelSlider.h"
#include "app/transport/StereoMeter.h"
#include "app/transport/TimeReadout.h"
#include "app/transport/TransportBar.h"
#include "app/transport/VLLevelMeterView.h"
#include "app/waveform/OverviewStrip.h"
#include "app/window/MarkerListDock.h"
#include "controllers/MarkerCommands.h"
#include "controllers/SelectionModel.h"
#include "controllers/TransportController.h"
#include "document/DocumentTransport.h"
#include "platform/Log.h"
#include "platform/hardware/SimulatedStreams.h"

#include <QLineEdit>
#include <QMenu>
#include <thread>

namespace velloria::test
{

/// Counts what is painted of a widget.
class PaintCounter : public QObject
{
public:
    explicit PaintCounter(QWidget& widget) { widget.installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            numPixels += static_cast<QPaintEvent*>(event)->rect().width() *
                         static_cast<QPaintEvent*>(event)->rect().height();
        return false;
    }
    qint64 numPixels = 0;
};

/// A window with two seconds of stereo on simulated hardware.
class TransportWindowTest : public AppTest
{
protected:
    TransportWindowTest()
    {
        AudioHardware::setCurrent(hardware);
        window = open(makeSound("sound.wav", 88200));
        window->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(window));
        window->view().setFocus();
    }
    ~TransportWindowTest() override
    {
        if (!editor.windows().empty()) {
            window->closeWithoutAsking();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
        AudioHardware::setCurrent(nullptr);
        for (const QString& key : {AudioPreference::playbackVolume(), CueFollower::preferenceKey()})
            UserDefaults::standard().removeValue(key);
    }

    SoundController& controller() { return window->controller(); }
    DocumentTransport& transport() { return window->document().transport(); }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(&window->view().waveform(), key, modifiers);
    }
    /// The device takes so many frames.
    void hear(int numFrames)
    {
        for (; numFrames > 0 && hardware->output(); numFrames -= 512) {
            PlaybackFeed& feed = transport().audioPlayback()->core().feed();
            while (feed.ring.framesAvailableToConsume() < 512 && !feed.sourceExhausted)
                std::this_thread::sleep_for(std::chrono::microseconds(200));
            hardware->output()->pull(512);
        }
    }
    bool waitForStop()
    {
        return waitUntil([this] { return transport().audioPlayback() == nullptr; });
    }

    LogCapture log;
    std::shared_ptr<SimulatedHardware> hardware = std::make_shared<SimulatedHardware>();
    DocumentWindow* window = nullptr;
};

TEST_F(TransportWindowTest, IsPlayedWithTheKeyboardAlone)
{
    press(Qt::Key_Space);
    ASSERT_TRUE(controller().transport().isPlaying());
    hear(22050);
    ASSERT_TRUE(waitUntil([this] { return window->view().context().cueTime() > 0.4; }));
    EXPECT_GT(part<TransportBar>(*window).outputMeters().left().peakValue(), -3);
    EXPECT_TRUE(part<TransportBar>(*window).readout().text().startsWith(QStringLiteral("0'00.")));
    keepPicture(*window, QStringLiteral("playing"));
    press(Qt::Key_M);
    press(Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_EQ(window->document().audioMarkers()->size(), 2U);
    press(Qt::Key_2, Qt::KeypadModifier);
    hear(512);
    ASSERT_TRUE(waitUntil([this] { return window->view().context().cueTime() > 1.4; }));
    press(Qt::Key_1);
    press(Qt::Key_4);
    EXPECT_TRUE(controller().transport().isLooping());
    press(Qt::Key_Up, Qt::ControlModifier);
    EXPECT_EQ(part<TransportBar>(*window).speedText(), QStringLiteral("125 %"));
    EXPECT_TRUE(controller().transport().isPlaying());
    press(Qt::Key_Comma);
    ASSERT_TRUE(waitForStop());
    EXPECT_EQ(controller().selection().value().startTime, controller().transport().cueTime());
    press(Qt::Key_Period);
    EXPECT_EQ(controller().transport().cueTime(), 0);
    press(Qt::Key_0, Qt::KeypadModifier);
    ASSERT_TRUE(controller().transport().isPlaying());
    press(Qt::Key_Escape);
    ASSERT_TRUE(waitForStop());
    for (const Qt::Key key : {Qt::Key_5, Qt::Key_6, Qt::Key_7, Qt::Key_8})
        press(key);
    EXPECT_EQ(controller().transport().cueTime(), 0);
}

TEST_F(TransportWindowTest, ShowsTheLoudnessWhereItIsWanted)
{
    LoudnessView& view = part<TransportBar>(*window).loudness();
    EXPECT_FALSE(view.isVisible());
    const QList<QAction*> actions = window->findChildren<QAction*>();
    const auto found = std::find_if(actions.begin(), actions.end(), [](const QAction* action) {
        return action->data().toString() == Settings::showsLoudness;
    });
    ASSERT_NE(found, actions.end());
    QAction* const toggle = *found;
    toggle->trigger();
    EXPECT_TRUE(view.isVisible());
    EXPECT_TRUE(UserDefaults::standard().boolValue(Settings::showsLoudness)) << "remembered";
    keepPicture(*window, QStringLiteral("loudness-idle"));
    press(Qt::Key_Space);
    hear(35280);
    ASSERT_TRUE(waitUntil([&] { return view.reading().momentary > -10; }));
    EXPECT_TRUE(view.accessibleDescription().startsWith(QStringLiteral("Momentary -"))) << "told, too";
    for (const bool isDark : {false, true}) {
        QApplication::setPalette(isDark ? ThemePalettes::dark() : ThemePalettes::light());
        LoudnessReading reading = view.reading();
        reading.shortTerm = -14.2;
        view.setReading(reading);
        QCoreApplication::processEvents();
        keepPicture(*window, isDark ? QStringLiteral("loudness-dark") : QStringLiteral("loudness-light"));
    }
    QApplication::setPalette(ThemePalettes::light());
    QTest::mouseClick(&view, Qt::LeftButton);
    EXPECT_EQ(view.reading().integrated, LoudnessReading::kNothing);
    toggle->trigger();
    EXPECT_FALSE(view.isVisible());
    UserDefaults::standard().removeValue(Settings::showsLoudness);
}

TEST(LoudnessViewTest, ShowsNumbersOrDashes)
{
    EXPECT_EQ(LoudnessView::textOf(-23.04), QStringLiteral("-23.0"));
    EXPECT_EQ(LoudnessView::textOf(-70.1), QStringLiteral("–")) << "below the absolute gate is silence";
    EXPECT_EQ(LoudnessView::textOf(LoudnessReading::kNothing), QStringLiteral("–"));
    LoudnessView view;
    EXPECT_EQ(view.xPositionForValue(LoudnessReading::kNothing), 0);
    EXPECT_EQ(view.xPositionForValue(0), view.width());
}

TEST_F(TransportWindowTest, TypingANameIsNoCommand)
{
    controller().markers().insertMarker();
    part<MarkerListDock>(*window).show();
    auto* const field = new QLineEdit(window);
    field->show();
    field->setFocus();
    ASSERT_TRUE(waitUntil([&] { return field->hasFocus(); }));
    QTest::keyClicks(field, QStringLiteral("a 0,1.9m"));
    EXPECT_EQ(field->text(), QStringLiteral("a 0,1.9m"));
    EXPECT_FALSE(controller().transport().isPlaying());
    EXPECT_EQ(window->document().audioMarkers()->size(), 1U);
}

TEST_F(TransportWindowTest, AClickMovesWhatIsHeardButSelectingDoesNot)
{
    press(Qt::Key_Space);
    hear(4096);
    WaveformWidget& waveform = window->view().waveform();
    const auto at = [&](double time) {
        return QPoint(static_cast<int>(window->view().context().geometry().xAtTime(time)),
                      waveform.height() / 4);
    };
    QTest::mousePress(&waveform, Qt::LeftButton, {}, at(0.5));
    QTest::mouseMove(&waveform, at(0.8));
    QTest::mouseRelease(&waveform, Qt::LeftButton, {}, at(0.8));
    EXPECT_NEAR(controller().selection().value().duration(), 0.3, 0.01);
    EXPECT_EQ(transport().audioPlaybackRecordingCueStart(), 0) << "went on undisturbed";
    QTest::mouseClick(&waveform, Qt::LeftButton, {}, at(1.2));
    EXPECT_NEAR(static_cast<double>(transport().audioPlaybackRecordingCueStart()), 1.2 * 44100, 441);
    EXPECT_TRUE(controller().transport().isPlaying());
}

TEST_F(TransportWindowTest, TheMovingCueRepaintsOnlyItsSurroundings)
{
    window->resize(1280, 720);
    press(Qt::Key_Space);
    hear(4096);
    QCoreApplication::processEvents();
    WaveformWidget& waveform = window->view().waveform();
    PaintCounter waveformPaint(waveform);
    PaintCounter overviewPaint(window->view().overview());
    std::vector<qint64> waveformPixels;
    std::vector<qint64> overviewPixels;
    for (int i = 0; i < 21; ++i) {
        const double before = window->view().context().cueTime();
        waveformPaint.numPixels = 0;
        overviewPaint.numPixels = 0;
        hear(512);
        ASSERT_TRUE(waitUntil([&] { return window->view().context().cueTime() > before; }));
        QCoreApplication::processEvents();
        waveformPixels.push_back(waveformPaint.numPixels);
        overviewPixels.push_back(overviewPaint.numPixels);
    }
    // The middle one: a window that settles paints more.
    std::sort(waveformPixels.begin(), waveformPixels.end());
    std::sort(overviewPixels.begin(), overviewPixels.end());
    EXPECT_GT(waveformPixels[10], 0);
    EXPECT_LT(waveformPixels[10], 40 * waveform.height());
    EXPECT_LT(overviewPixels[10], 40 * window->view().overview().height());
}

TEST_F(TransportWindowTest, AMissingServerIsAQuietMessage)
{
    hardware->setOpenError(Error{Error::Code::failed, QStringLiteral("No sound server can be reached.")});
    press(Qt::Key_Space);
    EXPECT_FALSE(controller().transport().isPlaying());
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    EXPECT_EQ(part<MessageBar>(*window).message(),
              QStringLiteral("The sound cannot be played. No sound server can be reached."));
    keepPicture(*window, QStringLiteral("no-server"));
    hardware->setOpenError(std::nullopt);
    press(Qt::Key_Space);
    EXPECT_TRUE(controller().transport().isPlaying());
    EXPECT_EQ(part<MessageBar>(*window).message(), QString());
}

TEST_F(TransportWindowTest, PausesAndSaysSoWhenTheDeviceIsUnplugged)
{
    press(Qt::Key_Space);
    hear(22050);
    ASSERT_TRUE(waitUntil([this] { return controller().transport().cueTime() > 0.4; }));
    hardware->unplug(QStringLiteral("out"));
    ASSERT_TRUE(waitForStop());
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    EXPECT_EQ(part<MessageBar>(*window).message(),
              QStringLiteral("The output device went away. Playback is paused."));
    EXPECT_GT(controller().transport().cueTime(), 0.4);
}

TEST_F(TransportWindowTest, TheLevelSliderStopsAtZero)
{
    OutputLevelSlider& slider = part<TransportBar>(*window).levelSlider();
    slider.setValue(-30);
    EXPECT_EQ(part<TransportBar>(*window).outputLevelText(), QStringLiteral("-3.0 dB"));
    slider.setValue(20);
    EXPECT_EQ(slider.decibels(), 0);
    EXPECT_EQ(part<TransportBar>(*window).outputLevelText(), QStringLiteral("0.0 dB"));
    slider.setValue(20);
    EXPECT_EQ(TransportController::outputGain(), 2.0);
    QTest::mouseDClick(&slider, Qt::LeftButton);
    EXPECT_EQ(TransportController::outputGain(), 0.0);
}

TEST_F(TransportWindowTest, FollowsTheCueUntilSomebodyScrolls)
{
    WaveformViewGeometry& view = window->view().context().geometry();
    UserDefaults::standard().setValue(CueFollower::preferenceKey(), static_cast<int>(CueFollower::byPage));
    view.setZoom(32);
    view.setScrollPosition(0);
    const auto runTo = [this](double time) {
        return waitUntil([&] {
            hear(512);
            return window->view().context().cueTime() > time;
        });
    };
    press(Qt::Key_Space);
    const double end = view.revealedEndTime();
    ASSERT_TRUE(runTo(end));
    EXPECT_GT(view.revealedStartTime(), end / 2) << "the page was turned";
    press(Qt::Key_Escape);
    ASSERT_TRUE(waitForStop());
    // Scrolled by hand: the page stays.
    controller().transport().setCueTime(0);
    view.setScrollPosition(0);
    press(Qt::Key_Space);
    QTest::keyClick(&window->view().waveform(), Qt::Key_PageDown);
    const double scrolled = view.scrollPosition();
    ASSERT_TRUE(runTo(view.revealedEndTime() - 0.05));
    EXPECT_EQ(view.scrollPosition(), scrolled);
}

TEST_F(TransportWindowTest, MayBeClosedAndQuitWhileItPlays)
{
    press(Qt::Key_Space);
    hear(4096);
    EXPECT_TRUE(editor.quit());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(editor.windows().empty());
    EXPECT_EQ(hardware->output(), nullptr) << "no stream is left";
}

} // namespace velloria::test
