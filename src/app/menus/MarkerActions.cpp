#include "app/menus/MarkerActions.h"

#include "app/menus/Commands.h"
#include "app/menus/MenuHost.h"
#include "app/preferences/Settings.h"
#include "app/progress/WindowAlerts.h"
#include "app/sheets/EditSheets.h"
#include "app/sheets/SplitSheet.h"
#include "app/waveform/WaveformView.h"
#include "controllers/MarkerCommands.h"
#include "controllers/RecordingController.h"
#include "controllers/TransportController.h"
#include "platform/UserDefaults.h"

#include <QMenu>
#include <QMenuBar>

namespace velloria
{

MarkerActions::MarkerActions(MenuHost& window, QMenuBar& menuBar, QAction& listToggle)
    : mWindow(window)
{
    //% "&Markers"
    QMenu& menu = *menuBar.addMenu(qtTrId("menu-markers"));
    addPutting(menu);
    menu.addSeparator();
    addJumps(menu);
    menu.addSeparator();
    //% "&Split at Markers…"
    mSplit = Commands::add(menu, qtTrId("marker-split"), {}, [this] { split(); });
    menu.addSeparator();
    addSettings(menu, listToggle);
}

void MarkerActions::addPutting(QMenu& menu)
{
    //% "Insert &Marker"
    Commands::add(menu, qtTrId("edit-insert-marker"),
                  Commands::letter(Qt::Key_M) + QList<QKeySequence>{Qt::Key_Enter},
                  [this] { reportError(mWindow.alerts(), mWindow.controller().markers().insertMarker()); });
    //% "Insert Markers at &Loud Passages"
    mGaps = Commands::add(menu, qtTrId("marker-gaps"), {}, [this] { insertInGaps(); });
    //% "Insert Markers at &Grid Lines"
    mGridlines = Commands::add(menu, qtTrId("marker-gridlines"), {}, [this] { insertAtGridlines(); });
    //% "&Delete All Markers"
    mDeleteAll = Commands::add(menu, qtTrId("edit-delete-markers"), {}, [this] {
        mWindow.controller().markers().deleteAllMarkers(Commands::plainName(*mDeleteAll));
    });
}

void MarkerActions::addJumps(QMenu& menu)
{
    //% "&Previous Marker"
    mPrevious = Commands::add(menu, qtTrId("marker-previous"), {QKeySequence(Qt::CTRL | Qt::Key_PageUp)},
                              [this] { jump(-1); });
    //% "&Next Marker"
    mNext = Commands::add(menu, qtTrId("marker-next"), {QKeySequence(Qt::CTRL | Qt::Key_PageDown)},
                          [this] { jump(1); });
}

void MarkerActions::addSettings(QMenu& menu, QAction& listToggle)
{
    listToggle.setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_M));
    menu.addAction(&listToggle);
    //% "Loc&k Markers"
    addSetting(menu, qtTrId("marker-lock"), Settings::locksMarkers);
    menu.addSeparator();
    //% "Snap to G&rid"
    addSetting(menu, qtTrId("marker-snap-grid"), Settings::snapsToGrid);
    //% "Show Gr&id"
    addSetting(menu, qtTrId("marker-show-grid"), Settings::showsGrid);
    //% "Grid S&ettings…"
    Commands::add(menu, qtTrId("marker-grid-settings"), {},
                  [this] { EditSheets::gridSettings(mWindow.widget()); });
}

void MarkerActions::addSetting(QMenu& menu, const QString& text, const QString& key)
{
    QAction* const action =
        Commands::addToggle(menu, text, {}, [key](bool isOn) { Settings::change(key, isOn ? 1 : 0); });
    action->setData(key);
    mSettings.push_back(action);
}

void MarkerActions::insertInGaps()
{
    reportError(mWindow.alerts(),
                mWindow.controller().markers().insertMarkersInGaps(Commands::plainName(*mGaps)));
}

void MarkerActions::insertAtGridlines()
{
    const SnapSettings grid = Settings::snapSettings();
    const double rate = mWindow.document().sampleRate();
    reportError(mWindow.alerts(),
                mWindow.controller().markers().insertMarkersAtGridlines(
                    grid.gridOffset(rate), grid.gridSpacing(rate), Commands::plainName(*mGridlines)));
}

void MarkerActions::jump(int direction)
{
    const double rate = mWindow.document().sampleRate();
    const int64_t from = frameAtTime(mWindow.controller().transport().cueTime(), rate);
    std::optional<int64_t> target;
    for (const AudioMarkerPtr& marker : *mWindow.document().audioMarkers()) {
        const int64_t position = marker->position();
        const bool isThatWay = direction > 0 ? position > from : position < from;
        if (isThatWay && (!target || (direction > 0 ? position < *target : position > *target)))
            target = position;
    }
    if (!target)
        return;
    mWindow.view().context().goTo(static_cast<double>(*target) / rate);
}

void MarkerActions::split()
{
    SplitSheet sheet(mWindow.document(), &mWindow.widget());
    if (!sheet.ask())
        return;
    MarkerSplitter splitter(mWindow.document(), sheet.request());
    if (const MaybeError error = splitter.refusal())
        return reportError(mWindow.alerts(), error);
    const QStringList losses = splitter.losses();
    //% "Split all the same?"
    if (!losses.isEmpty() && !mWindow.alerts().confirmLoss(qtTrId("split-question"), losses))
        return;
    const std::unique_ptr<Progress> progress = mWindow.beginProgress(sheet.windowTitle());
    reportError(mWindow.alerts(), splitter.run(*progress).error);
}

void MarkerActions::update()
{
    const bool isRecording = mWindow.controller().recording().isRecording();
    const bool hasSound = mWindow.document().numberOfFrames() > 0 && !isRecording;
    const bool hasMarkers = mWindow.document().markers().count() > 0 && !isRecording;
    mGaps->setEnabled(hasSound);
    mGridlines->setEnabled(hasSound);
    for (QAction* const action : {mDeleteAll, mPrevious, mNext})
        action->setEnabled(hasMarkers);
    mSplit->setEnabled(hasMarkers && hasSound);
    for (QAction* const action : mSettings)
        action->setChecked(UserDefaults::standard().boolValue(action->data().toString()));
}

} // namespace velloria
