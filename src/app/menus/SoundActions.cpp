#include "app/menus/SoundActions.h"

#include "app/menus/Commands.h"
#include "app/menus/GeneratorActions.h"
#include "app/menus/MenuHost.h"
#include "app/progress/WindowAlerts.h"
#include "app/sheets/EditSheets.h"
#include "controllers/ConversionCommands.h"

#include <QMenu>
#include <QMenuBar>

namespace velloria
{

SoundActions::SoundActions(MenuHost& window, QMenuBar& menuBar)
    : mWindow(window)
{
    //% "&Sound"
    QMenu& menu = *menuBar.addMenu(qtTrId("menu-sound"));
    //% "Insert &Silence…"
    Commands::add(menu, qtTrId("sound-silence"), {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_I)},
                  [this] { EditSheets::insertSilence(mWindow.controller(), mWindow.widget()); });
    mGenerators = new GeneratorActions(window, menu);
    menu.addSeparator();
    //% "&Add Track"
    QAction* const add = menu.addAction(qtTrId("sound-add-track"));
    connect(add, &QAction::triggered, this,
            [this, add] { mWindow.controller().conversions().addTrack(Commands::plainName(*add)); });
    //% "&Remove Selected Tracks"
    mRemoveTracks = Commands::add(menu, qtTrId("sound-remove-tracks"), {}, [this] {
        mWindow.controller().conversions().removeSelectedTracks(Commands::plainName(*mRemoveTracks));
    });
    //% "Mix Down to &Mono"
    mMono = Commands::add(menu, qtTrId("sound-mono"), {}, [this] { mixdown(1, *mMono); });
    //% "Mix Down to S&tereo"
    mStereo = Commands::add(menu, qtTrId("sound-stereo"), {}, [this] { mixdown(2, *mStereo); });
    menu.addSeparator();
    //% "&Change Sample Rate…"
    mResample = Commands::add(menu, qtTrId("sound-resample"), {},
                              [this] { EditSheets::resample(mWindow.controller(), mWindow.widget()); });
    //% "Document &Properties…"
    Commands::add(menu, qtTrId("sound-properties"), {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_P)},
                  [this] { EditSheets::documentProperties(mWindow.controller(), mWindow.widget()); });
}

void SoundActions::mixdown(int numChannels, const QAction& action)
{
    const MaybeError error =
        mWindow.controller().conversions().mixdown(numChannels, Commands::plainName(action));
    reportError(mWindow.alerts(), error);
}

void SoundActions::update()
{
    const SoundDocument& document = mWindow.document();
    const bool hasSound = document.numberOfFrames() > 0;
    mRemoveTracks->setEnabled(document.trackCount() > 1);
    mMono->setEnabled(hasSound && document.trackCount() > 1);
    mStereo->setEnabled(hasSound);
    mResample->setEnabled(hasSound);
}

} // namespace velloria
