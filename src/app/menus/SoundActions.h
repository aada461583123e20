#pragma once

#include <QObject>

class QAction;
class QMenu;
class QMenuBar;

namespace velloria
{

class GeneratorActions;
class MenuHost;

/// The Sound menu: inserted sound, tracks, mixdowns, rate and format.
class SoundActions : public QObject
{
    Q_OBJECT

public:
    SoundActions(MenuHost& window, QMenuBar& menuBar);

    void update();
    GeneratorActions& generators() { return *mGenerators; }

private:
    void mixdown(int numChannels, const QAction& action);

    MenuHost& mWindow;
    GeneratorActions* mGenerators = nullptr; ///< of the menu
    QAction* mRemoveTracks = nullptr;
    QAction* mMono = nullptr;
    QAction* mStereo = nullptr;
    QAction* mResample = nullptr;
};

} // namespace velloria
