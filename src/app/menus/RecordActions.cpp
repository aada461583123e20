#include "app/menus/RecordActions.h"

#include "Classes/CoreAudio/AudioPreferences.h"
#include "Classes/CoreAudio/VLRTAudioMonitor.h"
#include "app/desktop/SleepInhibitor.h"
#include "app/look/ThemedIcon.h"
#include "app/menus/Commands.h"
#include "app/menus/MenuHost.h"
#include "app/recording/AutomaticRecordingSheet.h"
#include "app/recording/InputLevelsWindow.h"
#include "app/recording/TimerRecordingSheets.h"
#include "app/transport/StereoMeter.h"
#include "app/transport/TransportBar.h"
#include "controllers/RecordingController.h"
#include "controllers/TransportController.h"
#include "document/DocumentRecording.h"
#include "document/DocumentTransport.h"
#include "platform/NotificationCenter.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QMenu>
#include <QScopedValueRollback>
#include <QTimer>
#include <algorithm>

namespace velloria
{

namespace
{

constexpr double kNoLevelDB = -100.0;
constexpr std::chrono::milliseconds kMoment(200);

} // namespace

RecordActions::RecordActions(MenuHost& window, QMenu& transportMenu)
    : mWindow(window)
{
    addRecord(transportMenu);
    addSheets(transportMenu);
}

RecordActions::~RecordActions()
{
    NotificationCenter::standard().removeObserver(mLevelsToken);
    SleepInhibitor::shared().release(this);
}

void RecordActions::addRecord(QMenu& menu)
{
    menu.addSeparator();
    //% "&Record"
    mRecord = Commands::add(menu, qtTrId("transport-record"),
                            {QKeySequence(Qt::Key_3), QKeySequence(Qt::CTRL | Qt::Key_Space)},
                            [this] { mWindow.controller().recording().recordOrStop(); });
    mRecord->setAutoRepeat(false);
    Commands::setIcon(*mRecord, QStringLiteral("toolbar-record"));
    const QString key = mRecord->shortcut().toString(QKeySequence::NativeText);
    mRecord->setToolTip(QStringLiteral("%1 (%2)").arg(Commands::plainName(*mRecord), key));
    mStopBySpace = addKey([this] { mWindow.controller().transport().stopAudio(); });
    mStopByRecordKey = addKey([this] { mWindow.controller().recording().recordOrStop(); });
    mRecordWhilePlaying = addKey([this] { mWindow.controller().recording().record(); });
}

/// A key that update() gives its shortcut while the command whose key it is otherwise is off.
QAction* RecordActions::addKey(const std::function<void()>& react)
{
    auto* const key = new QAction(this);
    key->setAutoRepeat(false);
    connect(key, &QAction::triggered, this, react);
    mWindow.widget().addAction(key);
    return key;
}

void RecordActions::addSheets(QMenu& menu)
{
    //% "&Automatic Recording…"
    mAutomatic = Commands::add(menu, qtTrId("transport-automatic"), {}, [this] { showAutomaticRecording(); });
    //% "&Timer Recording…"
    mTimer = Commands::add(menu, qtTrId("transport-timer"), {}, [this] { askForTimerRecording(); });
    menu.addSeparator();
    //% "&Input Levels…"
    mLevels =
        Commands::add(menu, qtTrId("transport-levels"), {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_L)},
                      [this] { InputLevelsWindow::showOne(&mWindow.widget()); });
}

void RecordActions::addToBar(TransportBar& bar)
{
    mBar = &bar;
    bar.addButton(*mRecord);
    //% "Input level, left"
    mInputMeters = new StereoMeter(qtTrId("input-meter-left"),
                                   //% "Input level, right"
                                   qtTrId("input-meter-right"), &bar);
    bar.addMeters(*mInputMeters);
    mInputMeters->hide();
    mLevelsToken = NotificationCenter::standard().addObserver(
        AudioNotification::inputLevelsDidChange(), [this](const void* sender) {
            const auto& levels = *static_cast<const InputLevels*>(sender);
            if (mWindow.controller().recording().isRecording())
                mInputMeters->setLevels(levels.leftLevel, levels.rightLevel);
        });
}

void RecordActions::update()
{
    const SoundController& controller = mWindow.controller();
    const bool isRecording = controller.recording().isRecording();
    const bool isPlaying = controller.transport().isPlaying();
    const bool canRecord = !isRecording && !isPlaying && !mWindow.isOpening();
    mRecord->setEnabled(isRecording || canRecord);
    mRecord->setIcon(ThemedIcon::named(isRecording ? QStringLiteral("toolbar-record-on")
                                                   : QStringLiteral("toolbar-record")));
    // Playing, whose key it is, is off then.
    mStopBySpace->setShortcut(isRecording ? QKeySequence(Qt::Key_Space) : QKeySequence());
    // The button is off while something plays, its keys are not.
    mStopByRecordKey->setShortcut(isPlaying ? QKeySequence(Qt::Key_3) : QKeySequence());
    mRecordWhilePlaying->setShortcut(isPlaying ? QKeySequence(Qt::CTRL | Qt::Key_Space) : QKeySequence());
    mAutomatic->setEnabled(canRecord);
    mTimer->setEnabled(canRecord);
    if (isRecording)
        SleepInhibitor::shared().hold(this);
    else
        SleepInhibitor::shared().release(this);
    if (!mBar)
        return;
    if (!isRecording && mInputMeters->isVisibleTo(&mWindow.widget()))
        mInputMeters->setLevels(kNoLevelDB, kNoLevelDB);
    mInputMeters->setVisible(isRecording);
    mBar->outputMeters().setVisible(!isRecording);
}

void RecordActions::show(QDialog* sheet)
{
    mSheet = sheet;
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    sheet->open();
}

void RecordActions::showAutomaticRecording()
{
    auto* const sheet = new AutomaticRecordingSheet(mWindow.controller(), &mWindow.widget());
    if (sheet->begin())
        show(sheet);
    else
        delete sheet;
}

void RecordActions::askForTimerRecording()
{
    TimerRecordingSetupSheet setup(&mWindow.widget());
    if (setup.ask())
        show(new TimerRecordingEnabledSheet(mWindow.controller(), setup.dates(), &mWindow.widget()));
}

bool RecordActions::finish()
{
    if (mSheet)
        mSheet->reject();
    SoundController& controller = mWindow.controller();
    if (!controller.recording().isRecording())
        return true;
    controller.transport().stopAudio();
    const QScopedValueRollback finishing(mIsFinishing, true);
    // A device that answers is done before anybody could see the window go and come back with a question.
    if (waitForEnd(std::min<std::chrono::milliseconds>(kMoment, mPatience),
                   QEventLoop::ExcludeUserInputEvents))
        return true;
    mWindow.widget().hide();
    if (waitForEnd(mPatience, QEventLoop::AllEvents))
        return true;
    mWindow.document().recording().leaveBehind();
    return false;
}

bool RecordActions::waitForEnd(std::chrono::milliseconds patience, QEventLoop::ProcessEventsFlags events)
{
    const RecordingController& recording = mWindow.controller().recording();
    const QDeadlineTimer deadline(patience);
    QTimer alarm;
    alarm.start(patience);
    while (recording.isRecording() && !deadline.hasExpired())
        QCoreApplication::processEvents(events | QEventLoop::WaitForMoreEvents);
    return !recording.isRecording();
}

void RecordActions::sayThatItDoesNotEnd()
{
    //% "The recording does not end: the sound server or the disk does not answer.\n\nWhat was recorded is kept. "
    //% "Velloria offers it when it starts the next time."
    mWindow.alerts().showWarning(qtTrId("recording-does-not-end"));
}

} // namespace velloria
