#include "app/menus/TransportActions.h"

#include "app/look/ThemedIcon.h"
#include "app/menus/Commands.h"
#include "app/menus/MenuHost.h"
#include "app/preferences/Settings.h"
#include "controllers/RecordingController.h"
#include "controllers/TransportController.h"
#include "platform/UserDefaults.h"

#include <QActionGroup>
#include <QLocale>
#include <QMenu>
#include <QMenuBar>
#include <cmath>

namespace velloria
{

namespace
{

/// The name that a person sees who holds the pointer still over the button.
void describe(QAction& action, const QString& icon)
{
    Commands::setIcon(action, icon);
    const QList<QKeySequence> keys = action.shortcuts();
    const QString key = keys.isEmpty() ? QString() : keys.front().toString(QKeySequence::NativeText);
    action.setToolTip(key.isEmpty() ? Commands::plainName(action)
                                    : QStringLiteral("%1 (%2)").arg(Commands::plainName(action), key));
}

} // namespace

TransportActions::TransportActions(MenuHost& window, QMenuBar& menuBar)
    : mWindow(window)
    //% "&Transport"
    , mMenu(menuBar.addMenu(qtTrId("menu-transport")))
{
    addPlaying();
    mMenu->addSeparator();
    addMoving();
    mMenu->addSeparator();
    addSpeeds();
    addFollowing();
}

QList<QAction*> TransportActions::buttons() const
{
    return {mReturnToZero, mRewind, mPlay, mPause, mStop, mFastForward, mLoop};
}

void TransportActions::addPlaying()
{
    //% "&Play"
    mPlay = Commands::add(*mMenu, qtTrId("transport-play"), {QKeySequence(Qt::Key_Space)},
                          [this] { mWindow.controller().transport().playReturning(); });
    //% "Pa&use"
    mPause = Commands::add(*mMenu, qtTrId("transport-pause"), {QKeySequence(Qt::Key_Comma)},
                           [this] { mWindow.controller().transport().playStaying(); });
    //% "&Stop"
    mStop = Commands::add(*mMenu, qtTrId("transport-stop"), {QKeySequence(Qt::Key_Escape)},
                          [this] { mWindow.controller().transport().cancelOperation(); });
    // For the number pad, where all of the transport is under one hand.
    auto* const playOrStop = new QAction(this);
    playOrStop->setShortcut(QKeySequence(Qt::Key_0));
    playOrStop->setAutoRepeat(false);
    connect(playOrStop, &QAction::triggered, this,
            [this] { mWindow.controller().transport().playOrStopReturning(); });
    mWindow.widget().addAction(playOrStop);
    //% "&Loop"
    mLoop = Commands::addToggle(*mMenu, qtTrId("transport-loop"), {QKeySequence(Qt::Key_4)},
                                [this](bool) { mWindow.controller().transport().loop(); });
    for (QAction* const action : {mPlay, mPause, mLoop})
        action->setAutoRepeat(false);
    describe(*mPlay, QStringLiteral("toolbar-play"));
    describe(*mPause, QStringLiteral("toolbar-pause"));
    describe(*mStop, QStringLiteral("toolbar-stop"));
    describe(*mLoop, QStringLiteral("toolbar-loop"));
}

void TransportActions::addMoving()
{
    //% "Return to &Zero"
    mReturnToZero =
        Commands::add(*mMenu, qtTrId("transport-return-to-zero"), {Qt::Key_Period, Qt::Key_Return},
                      [this] { mWindow.controller().transport().returnToZero(); });
    //% "Re&wind"
    mRewind = Commands::add(*mMenu, qtTrId("transport-rewind"), {QKeySequence(Qt::Key_1)},
                            [this] { mWindow.controller().transport().rewind(); });
    //% "Fast &Forward"
    mFastForward = Commands::add(*mMenu, qtTrId("transport-forward"), {QKeySequence(Qt::Key_2)},
                                 [this] { mWindow.controller().transport().fastForward(); });
    describe(*mReturnToZero, QStringLiteral("toolbar-zero"));
    describe(*mRewind, QStringLiteral("toolbar-rewind"));
    describe(*mFastForward, QStringLiteral("toolbar-forward"));
}

void TransportActions::addSpeeds()
{
    //% "Sp&eed"
    mSpeeds = mMenu->addMenu(qtTrId("transport-speed"));
    auto* const group = new QActionGroup(mSpeeds);
    for (const int percent : {50, 75, 100, 125, 150, 175, 200}) {
        //: A speed; %1 is a number
        //% "%1 %"
        QAction* const item =
            Commands::add(*mSpeeds, qtTrId("transport-percent").arg(QLocale().toString(percent)), {},
                          [this, percent] { mWindow.controller().transport().playbackSpeed(percent); });
        item->setCheckable(true);
        item->setData(percent);
        group->addAction(item);
        mSpeedItems.push_back(item);
    }
    mSpeeds->addSeparator();
    //% "&Faster"
    Commands::add(*mSpeeds, qtTrId("transport-faster"), {QKeySequence(Qt::CTRL | Qt::Key_Up)},
                  [this] { mWindow.controller().transport().speedUpPlayback(); });
    //% "&Slower"
    Commands::add(*mSpeeds, qtTrId("transport-slower"), {QKeySequence(Qt::CTRL | Qt::Key_Down)},
                  [this] { mWindow.controller().transport().slowDownPlayback(); });
}

void TransportActions::addFollowing()
{
    //% "Follow the &Cue"
    QMenu* const follow = mMenu->addMenu(qtTrId("transport-follow"));
    auto* const group = new QActionGroup(follow);
    //% "Smoothly"
    for (const auto& [text, mode] : {std::pair{qtTrId("transport-follow-smoothly"), CueFollower::smoothly},
                                     //% "Page by Page"
                                     std::pair{qtTrId("transport-follow-pages"), CueFollower::byPage},
                                     //% "Not at All"
                                     std::pair{qtTrId("transport-follow-never"), CueFollower::never}}) {
        QAction* const item = Commands::add(*follow, text, {}, [this, mode = mode] {
            Settings::change(CueFollower::preferenceKey(), static_cast<int>(mode));
            mWindow.controller().transport().updateTransportButtons();
        });
        item->setCheckable(true);
        item->setData(static_cast<int>(mode));
        group->addAction(item);
        mFollowItems.push_back(item);
    }
}

void TransportActions::update()
{
    const SoundController& controller = mWindow.controller();
    const bool isPlaying = controller.transport().isPlaying();
    const bool isRecording = controller.recording().isRecording();
    const bool canPlay = !isRecording && !mWindow.isOpening() && mWindow.document().numberOfFrames() > 0;
    mPlay->setEnabled(isPlaying || canPlay);
    mPause->setEnabled(isPlaying || canPlay);
    mStop->setEnabled(isPlaying || isRecording);
    mPlay->setIcon(
        ThemedIcon::named(isPlaying ? QStringLiteral("toolbar-play-on") : QStringLiteral("toolbar-play")));
    const bool isLooping = controller.transport().isLooping();
    mLoop->setChecked(isLooping);
    mLoop->setIcon(
        ThemedIcon::named(isLooping ? QStringLiteral("toolbar-loop-on") : QStringLiteral("toolbar-loop")));
    const auto percent = static_cast<int>(std::lround(controller.transport().playbackSpeed() * 100));
    for (QAction* const item : mSpeedItems)
        item->setChecked(item->data().toInt() == percent);
    const int mode = UserDefaults::standard().integerValue(CueFollower::preferenceKey());
    for (QAction* const item : mFollowItems)
        item->setChecked(item->data().toInt() == mode);
}

} // namespace velloria
