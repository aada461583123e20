#include "app/menus/DocumentMenus.h"

#include "app/menus/AnalysisActions.h"
#include "app/menus/EditActions.h"
#include "app/menus/EffectActions.h"
#include "app/menus/FileActions.h"
#include "app/menus/HelpActions.h"
#include "app/menus/MarkerActions.h"
#include "app/menus/RecordActions.h"
#include "app/menus/SoundActions.h"
#include "app/menus/TransportActions.h"
#include "app/menus/ViewActions.h"

#include <QMenuBar>

namespace velloria
{

DocumentMenus::DocumentMenus(MenuHost& window, QMenuBar& menuBar, QAction& historyToggle,
                             QAction& markerListToggle)
{
    const auto lastMenu = [&menuBar] { return menuBar.actions().constLast(); };
    mFile = std::make_unique<FileActions>(window, menuBar);
    mEdit = std::make_unique<EditActions>(window, menuBar, historyToggle);
    mEditMenu = lastMenu();
    mView = std::make_unique<ViewActions>(window, menuBar);
    mMarkers = std::make_unique<MarkerActions>(window, menuBar, markerListToggle);
    mMarkersMenu = lastMenu();
    mSound = std::make_unique<SoundActions>(window, menuBar);
    mSoundMenu = lastMenu();
    mEffects = std::make_unique<EffectActions>(window, menuBar);
    mEffectsMenu = lastMenu();
    mAnalysis = std::make_unique<AnalysisActions>(window, menuBar);
    mTransport = std::make_unique<TransportActions>(window, menuBar);
    mRecording = std::make_unique<RecordActions>(window, mTransport->menu());
    mHelp = std::make_unique<HelpActions>(window, menuBar);
}

DocumentMenus::~DocumentMenus() = default;

void DocumentMenus::update()
{
    mFile->update();
    mEdit->update();
    mView->update();
    mMarkers->update();
    mSound->update();
    mEffects->update();
    mAnalysis->update();
    updateForTransport();
}

void DocumentMenus::updateForSelection()
{
    mFile->update();
    mEdit->update();
    mView->update();
}

void DocumentMenus::updateForTransport()
{
    mTransport->update();
    mRecording->update();
}

void DocumentMenus::setEditable(bool canEdit, bool canMark)
{
    for (QAction* const menu : {mEditMenu, mSoundMenu, mEffectsMenu})
        menu->setEnabled(canEdit);
    mMarkersMenu->setEnabled(canMark);
}

} // namespace velloria
