#include "app/desktop/SleepInhibitor.h"
#include "app/desktop/TerminationSignals.h"
#include "app/kit/AppTestKit.h"
#include "app/menus/DocumentMenus.h"
#include "app/menus/EditActions.h"
#include "app/menus/FileActions.h"
#include "app/menus/RecordActions.h"
#include "app/menus/TransportActions.h"
#include "app/progress/MessageBar.h"
#include "app/recording/AutomaticRecordingSheet.h"
#include "app/recording/InputLevelsWindow.h"
#include "app/recording/RecordingHistoryView.h"
#include "app/recording/TimerRecordingSheets.h"
#include "app/recovery/RecoveryWindow.h"
#include "controllers/InputLevelsController.h"
#include "controllers/RecordingController.h"
#include "controllers/TransportController.h"
#include "document/DocumentRecording.h"
#include "document/DocumentTransport.h"
#include "platform/Log.h"
#include "platform/ScratchFolder.h"
#include "platform/hardware/SimulatedStreams.h"

#include <QMessageBox>
#include <QPushButton>
#include <QSlider>
#include <csignal>
#include <unistd.h>

namespace velloria::test
{

/// A window with a new document whose input hears what the test says.
class RecordingWindowTest : public AppTest
{
protected:
    RecordingWindowTest()
    {
        AudioHardware::setCurrent(hardware);
        editor.newDocument();
        window = editor.windows().front();
        window->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(window));
        window->view().setFocus();
    }
    ~RecordingWindowTest() override
    {
        if (!editor.windows().empty()) {
            window->controller().transport().stopAudio();
            EXPECT_TRUE(waitUntil([this] { return !window->controller().recording().isRecording(); }));
            window->closeWithoutAsking();
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        InputLevelsController::releaseShared();
        AudioHardware::setCurrent(nullptr);
        for (const char* key : {"audio.inputLevels.metersActive", "audio.input.device",
                                "automaticRecording.startLevel", "automaticRecording.stopLevel",
                                "automaticRecording.stopDuration", "timerRecording.defaultDuration"})
            UserDefaults::standard().removeValue(QString::fromLatin1(key));
    }

    SoundController& controller() { return window->controller(); }
    DocumentRecording& recording() { return window->document().recording(); }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(&window->view().waveform(), key, modifiers);
    }

    /// Something like speech: a tone that swells and fades every half second.
    void hear(double seconds, double amplitude = 0.8)
    {
        for (int block = 0; block < static_cast<int>(seconds * 43.066); ++block) {
            std::vector<float> frames;
            for (int i = 0; i < 1024; ++i, ++mPlace) {
                const double time = static_cast<double>(mPlace) / 44100.0;
                const double swell = amplitude * std::pow(std::sin(M_PI * 2.0 * time), 2.0);
                frames.push_back(static_cast<float>(swell * std::sin(2000.0 * time)));
                frames.push_back(static_cast<float>(0.6 * swell * std::sin(3000.0 * time)));
            }
            for (SimulatedInput* const input : hardware->allInputs())
                input->push(frames);
            if (block % 4 == 3 && recording().isRecording())
                waitUntil([this] { return recording().audioRecording()->core().numFramesWaiting() == 0; });
        }
    }
    bool waitForStop()
    {
        return waitUntil([this] { return !controller().recording().isRecording(); });
    }

    LogCapture log;
    std::shared_ptr<SimulatedHardware> hardware = std::make_shared<SimulatedHardware>();
    DocumentWindow* window = nullptr;

private:
    int64_t mPlace = 0;
};

TEST_F(RecordingWindowTest, RecordsFromTheKeyboardAndShowsTheTakeAsItComes)
{
    press(Qt::Key_3);
    ASSERT_TRUE(controller().recording().isRecording());
    EXPECT_TRUE(SleepInhibitor::shared().isHeld());
    EXPECT_FALSE(window->menus().transport().playAction()->isEnabled());
    hear(4.0);
    ASSERT_TRUE(waitUntil([this] { return controller().transport().cueTime() > 3.9; }));
    EXPECT_NEAR(window->view().context().geometry().totalTime(), controller().transport().cueTime(), 0.1);
    QTest::qWait(250);
    keepPicture(*window, QStringLiteral("recording"));
    press(Qt::Key_Space, Qt::ControlModifier);
    ASSERT_TRUE(waitForStop());
    EXPECT_FALSE(SleepInhibitor::shared().isHeld());
    EXPECT_TRUE(window->menus().transport().playAction()->isEnabled());
    EXPECT_EQ(window->document().undoManager().undoText(), QStringLiteral("Recording"));
    const int64_t numFrames = window->document().numberOfFrames();
    press(Qt::Key_Space, Qt::ControlModifier);
    ASSERT_TRUE(controller().recording().isRecording());
    hear(0.5);
    press(Qt::Key_Space);
    ASSERT_TRUE(waitForStop());
    EXPECT_GT(window->document().numberOfFrames(), numFrames) << "it goes on where the take before ended";
    QTest::qWait(250);
    keepPicture(*window, QStringLiteral("recorded"));
}

TEST_F(RecordingWindowTest, AllowsMarkersButNoEditsWhileItRecords)
{
    press(Qt::Key_3);
    hear(0.5);
    press(Qt::Key_M);
    EXPECT_EQ(window->document().audioMarkers()->size(), 1U);
    press(Qt::Key_Z, Qt::ControlModifier);
    press(Qt::Key_A, Qt::ControlModifier);
    press(Qt::Key_Delete);
    press(Qt::Key_N);
    EXPECT_FALSE(window->menus().edit().undoAction()->isEnabled());
    EXPECT_FALSE(window->menus().file().saveAction()->isEnabled());
    hear(0.5);
    press(Qt::Key_Escape);
    ASSERT_TRUE(waitForStop());
    EXPECT_GE(window->document().numberOfFrames(), 2 * 21 * 1024);
    EXPECT_EQ(window->document().audioMarkers()->size(), 1U);
    EXPECT_TRUE(window->menus().edit().undoAction()->isEnabled());
    EXPECT_TRUE(window->menus().file().saveAction()->isEnabled());
}

TEST_F(RecordingWindowTest, SaysThatTheDeviceWentAwayAndKeepsTheTake)
{
    press(Qt::Key_3);
    hear(0.5);
    hardware->unplug(QStringLiteral("in"));
    ASSERT_TRUE(waitForStop());
    EXPECT_TRUE(part<MessageBar>(*window).isVisible());
    EXPECT_TRUE(part<MessageBar>(*window).message().contains(QStringLiteral("The audio device went away.")));
    EXPECT_GE(window->document().numberOfFrames(), 21 * 1024);
    keepPicture(*window, QStringLiteral("recording-device-lost"));
    press(Qt::Key_3);
    EXPECT_FALSE(controller().recording().isRecording());
    EXPECT_TRUE(part<MessageBar>(*window).isVisible());
}

TEST_F(RecordingWindowTest, ItsKeysWorkWhileItPlays)
{
    press(Qt::Key_3);
    hear(2.0);
    press(Qt::Key_3);
    ASSERT_TRUE(waitForStop());
    const auto hasStopped = [this] { return window->document().transport().audioPlayback() == nullptr; };
    controller().transport().setCueTime(0.5);
    press(Qt::Key_Comma);
    ASSERT_TRUE(controller().transport().isPlaying());
    press(Qt::Key_3);
    EXPECT_FALSE(controller().transport().isPlaying());
    EXPECT_FALSE(controller().recording().isRecording());
    ASSERT_TRUE(waitUntil(hasStopped));
    EXPECT_NEAR(controller().transport().cueTime(), 0.5, 0.1) << "not at the end";
    press(Qt::Key_Comma);
    ASSERT_TRUE(controller().transport().isPlaying());
    press(Qt::Key_Space, Qt::ControlModifier);
    EXPECT_FALSE(controller().transport().isPlaying());
    EXPECT_TRUE(controller().recording().isRecording());
    press(Qt::Key_Space, Qt::ControlModifier);
    EXPECT_TRUE(waitForStop());
}

TEST_F(RecordingWindowTest, StopsTheRecordingBeforeItAsksWhetherToSave)
{
    press(Qt::Key_3);
    hear(0.5);
    bool wasRecording = true;
    whenShown<QMessageBox>([&](QMessageBox& box) {
        wasRecording = controller().recording().isRecording();
        box.button(QMessageBox::Cancel)->click();
    });
    EXPECT_FALSE(editor.quit());
    EXPECT_FALSE(wasRecording);
    EXPECT_GE(window->document().numberOfFrames(), 21 * 1024);
    EXPECT_EQ(editor.windows().size(), 1U);
}

TEST_F(RecordingWindowTest, ClosesAlthoughTheRecordingDoesNotEnd)
{
    press(Qt::Key_3);
    hear(0.5);
    hardware->setInputsNeverStop(true);
    window->menus().recording().setPatience(std::chrono::milliseconds(300));
    const std::filesystem::path file = recording().audioRecordingClips().front()->tempFile()->path();
    QString message;
    whenShown<QMessageBox>([&](QMessageBox& warning) {
        message = warning.text() + warning.informativeText();
        whenShown<QMessageBox>([](QMessageBox& box) { box.button(QMessageBox::Discard)->click(); });
        warning.accept();
    });
    EXPECT_TRUE(editor.quit());
    EXPECT_TRUE(message.startsWith(QStringLiteral("The recording does not end"))) << qPrintable(message);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(ScratchFolder::leftOvers().size(), 2U) << "left and right";
    EXPECT_TRUE(std::filesystem::exists(file));
    ScratchFolder::removeLeftOversUpTo(INT64_MAX);
}

TEST_F(RecordingWindowTest, AWindowThatWaitsForItsTakeIsHiddenAndTheOthersGoOn)
{
    press(Qt::Key_3);
    hear(0.5);
    hardware->setInputsNeverStop(true);
    window->menus().recording().setPatience(std::chrono::milliseconds(1500));
    editor.newDocument();
    DocumentWindow* const other = editor.windows().back();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(other));
    bool wasHidden = false;
    bool mayQuitMeanwhile = true;
    QTimer::singleShot(600, [&] {
        wasHidden = window->isHidden();
        QTest::keyClick(&other->view().waveform(), Qt::Key_M);
        mayQuitMeanwhile = editor.quit();
    });
    // The device comes to its senses: nothing of the take is lost, and nobody is told that it was.
    QTimer::singleShot(900, [&] {
        hardware->setInputsNeverStop(false);
        hardware->input()->stop();
    });
    bool wasComplete = false;
    QString question;
    whenShown<QMessageBox>([&](QMessageBox& box) {
        question = box.text();
        wasComplete = !controller().recording().isRecording() && window->isVisible();
        box.button(QMessageBox::Cancel)->click();
    });
    window->close();
    EXPECT_TRUE(wasHidden);
    EXPECT_FALSE(mayQuitMeanwhile);
    EXPECT_EQ(other->document().markers().count(), 1) << "it takes input meanwhile";
    EXPECT_TRUE(question.startsWith(QStringLiteral("Save the changes"))) << qPrintable(question);
    EXPECT_TRUE(wasComplete);
    EXPECT_TRUE(window->isVisible());
    EXPECT_GE(window->document().numberOfFrames(), 21 * 1024);
    other->closeWithoutAsking();
}

TEST_F(RecordingWindowTest, ASignalToEndKeepsTheTakeForTheNextStartWithoutAQuestion)
{
    press(Qt::Key_3);
    hear(2.0);
    const TerminationSignals signals;
    QObject::connect(&signals, &TerminationSignals::received, &editor, &Application::endAtOnce);
    ::kill(::getpid(), SIGTERM);
    QApplication::exec();
    EXPECT_FALSE(controller().recording().isRecording());
    EXPECT_EQ(ScratchFolder::leftOvers().size(), 1U);

    Application next;
    next.newDocument();
    next.offerRecovery();
    EXPECT_TRUE(waitUntil([] {
        for (QWidget* const widget : QApplication::topLevelWidgets())
            if (auto* const recovery = qobject_cast<RecoveryWindow*>(widget)) {
                recovery->openAll();
                return true;
            }
        return false;
    }));
    ASSERT_EQ(next.windows().size(), 1U) << "the empty window showed it";
    SoundDocument& found = next.windows().front()->document();
    EXPECT_EQ(found.numberOfFrames(), window->document().numberOfFrames());
    EXPECT_GE(found.numberOfFrames(), 85 * 1024);
    EXPECT_EQ(found.sampleDataAtOffset(40000, 1000, 1),
              window->document().sampleDataAtOffset(40000, 1000, 1));
    EXPECT_TRUE(found.isDocumentEdited());
    EXPECT_TRUE(found.filePath().empty());
    next.windows().front()->closeWithoutAsking();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    ScratchFolder::removeLeftOversUpTo(INT64_MAX);
}

TEST_F(RecordingWindowTest, RecordsAutomaticallyUntilDone)
{
    window->menus().recording().automaticAction()->trigger();
    const QPointer<AutomaticRecordingSheet> sheet = window->findChild<AutomaticRecordingSheet*>();
    ASSERT_TRUE(sheet && sheet->isVisible());
    hear(2.0, 0.02);
    ASSERT_TRUE(waitUntil([&] { return sheet->history().numBars() > 15; }));
    EXPECT_TRUE(sheet->stateText().startsWith(QStringLiteral("Waiting")));
    EXPECT_EQ(recording().numRecordedFrames(), 0);
    hear(2.0);
    ASSERT_TRUE(waitUntil([&] { return sheet->history().numBars() > 35; }));
    EXPECT_TRUE(sheet->stateText().startsWith(QStringLiteral("Recording")));
    keepPicture(*sheet, QStringLiteral("automatic-recording"));
    sheet->findChild<QPushButton*>()->click();
    ASSERT_TRUE(waitForStop());
    EXPECT_FALSE(sheet && sheet->isVisible());
    EXPECT_GT(window->document().numberOfFrames(), 44100);
}

TEST_F(RecordingWindowTest, ClosesTheAutomaticSheetWhenTheDeviceGoes)
{
    window->menus().recording().automaticAction()->trigger();
    const QPointer<AutomaticRecordingSheet> sheet = window->findChild<AutomaticRecordingSheet*>();
    hardware->unplug(QStringLiteral("in"));
    EXPECT_TRUE(waitUntil([&] { return !sheet || !sheet->isVisible(); }));
    EXPECT_TRUE(part<MessageBar>(*window).isVisible());
}

TEST_F(RecordingWindowTest, WaitsForATimerRecordingAndEndsItEarly)
{
    whenShown<TimerRecordingSetupSheet>([&](TimerRecordingSetupSheet& setup) {
        keepPicture(setup, QStringLiteral("timer-setup"));
        setup.accept();
    });
    window->menus().recording().timerAction()->trigger();
    const QPointer<TimerRecordingEnabledSheet> sheet = window->findChild<TimerRecordingEnabledSheet*>();
    ASSERT_TRUE(sheet && sheet->isVisible());
    ASSERT_TRUE(waitUntil([&] { return controller().recording().isRecording(); })) << "its start has passed";
    hear(0.5);
    auto* const cancel = sheet->findChild<QPushButton*>();
    EXPECT_EQ(cancel->text(), QStringLiteral("Stop Recording"));
    QTest::qWait(50);
    keepPicture(*sheet, QStringLiteral("timer-enabled"));
    cancel->click();
    ASSERT_TRUE(waitForStop());
    EXPECT_FALSE(sheet && sheet->isVisible());
    EXPECT_GE(window->document().numberOfFrames(), 21 * 1024);
}

TEST_F(RecordingWindowTest, ShowsTheInputsLevelsWhileTheirWindowIsOpen)
{
    HardwareState state = hardware->state();
    state.devices.push_back(SimulatedHardware::inputDevice(4, QStringLiteral("desk"), 48000.0, 6));
    hardware->setState(state);
    QPointer<InputLevelsWindow> levels = InputLevelsWindow::showOne(window);
    EXPECT_EQ(InputLevelsWindow::showOne(window), levels.data());
    ASSERT_NE(hardware->input(), nullptr);
    hear(0.5);
    InputLevelsController& shared = InputLevelsController::inputLevelsController();
    ASSERT_TRUE(waitUntil([&] { return shared.left().level > -60.0; }));
    QTest::qWait(60);
    keepPicture(*levels, QStringLiteral("input-levels"));
    auto* const gain = levels->findChild<QSlider*>();
    gain->setValue(25);
    EXPECT_EQ(hardware->state().devices[1].input.gains.at(0).value, 0.25F);
    levels->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(levels);
    EXPECT_EQ(hardware->input(), nullptr) << "nothing listens any more";
}

} // namespace velloria::test
