#pragma once

#include <QObject>

class QAction;
class QMenu;
class QMenuBar;

namespace velloria
{

class MenuHost;

/// The Sound menu: silence, tracks, mixdowns, rate and format.
class SoundActions : public QObject
{
    Q_OBJECT

public:
    SoundActions(MenuHost& window, QMenuBar& menuBar);

    void update();

private:
    void mixdown(int numChannels, const QAction& action);

    MenuHost& mWindow;
    QAction* mRemoveTracks = nullptr;
    QAction* mMono = nullptr;
    QAction* mStereo = nullptr;
    QAction* mResample = nullptr;
};

} // namespace velloria
