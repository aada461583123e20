#pragma once

#include <QList>
#include <QObject>
#include <vector>

class QAction;
class QMenu;
class QMenuBar;

namespace velloria
{

class MenuHost;

/// The Transport menu; its items are the buttons of the transport bar as well.
class TransportActions : public QObject
{
    Q_OBJECT

public:
    TransportActions(MenuHost& window, QMenuBar& menuBar);

    void update();

    QMenu& menu() { return *mMenu; }
    QMenu& speedMenu() { return *mSpeeds; }
    /// In the order of the transport bar.
    QList<QAction*> buttons() const;
    QAction* playAction() const { return mPlay; }
    QAction* stopAction() const { return mStop; }
    QAction* pauseAction() const { return mPause; }
    QAction* returnToZeroAction() const { return mReturnToZero; }
    QAction* rewindAction() const { return mRewind; }
    QAction* fastForwardAction() const { return mFastForward; }
    QAction* loopAction() const { return mLoop; }

private:
    void addPlaying();
    void addMoving();
    void addSpeeds();
    void addFollowing();

    MenuHost& mWindow;
    QMenu* mMenu;
    QMenu* mSpeeds = nullptr;
    QAction* mPlay = nullptr;
    QAction* mPause = nullptr;
    QAction* mStop = nullptr;
    QAction* mReturnToZero = nullptr;
    QAction* mRewind = nullptr;
    QAction* mFastForward = nullptr;
    QAction* mLoop = nullptr;
    std::vector<QAction*> mSpeedItems;
    std::vector<QAction*> mFollowItems;
};

} // namespace velloria
