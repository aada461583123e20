#include "app/menus/ViewActions.h"

#include "app/look/RulerUnitNames.h"
#include "app/menus/Commands.h"
#include "app/menus/MenuHost.h"
#include "app/preferences/Settings.h"
#include "app/waveform/WaveformView.h"
#include "app/waveform/ZoomReadout.h"
#include "controllers/SelectionModel.h"
#include "platform/UserDefaults.h"

#include <QActionGroup>
#include <QMenu>
#include <QMenuBar>

namespace velloria
{

ViewActions::ViewActions(MenuHost& window, QMenuBar& menuBar)
    : mWindow(window)
{
    //% "&View"
    QMenu& menu = *menuBar.addMenu(qtTrId("menu-view"));
    addZoom(menu);
    menu.addSeparator();
    addScrolling(menu);
    menu.addSeparator();
    addUnits(menu);
    addScale(menu);
    menu.addSeparator();
    addToggles(menu);
}

ViewActions::~ViewActions() = default;

void ViewActions::addZoom(QMenu& menu)
{
    WaveformContext& context = mWindow.view().context();
    const auto add = [&](const QString& text, const QList<QKeySequence>& keys, const QString& icon,
                         const std::function<void()>& run) {
        QAction* const action = Commands::add(menu, text, keys, run);
        if (!icon.isEmpty())
            Commands::setIcon(*action, icon);
        return action;
    };
    //% "Zoom &In"
    mZoomIn = add(
        qtTrId("view-zoom-in"),
        QList<QKeySequence>{QKeySequence(Qt::CTRL | Qt::Key_Plus), QKeySequence(Qt::CTRL | Qt::Key_Equal)} +
            Commands::letter(Qt::Key_T),
        QStringLiteral("zoom-in"), [&context] { context.zoomCommands().zoomIn(); });
    //% "Zoom &Out"
    mZoomOut = add(qtTrId("view-zoom-out"),
                   QList<QKeySequence>{QKeySequence(Qt::CTRL | Qt::Key_Minus)} + Commands::letter(Qt::Key_R),
                   QStringLiteral("zoom-out"), [&context] { context.zoomCommands().zoomOut(); });
    //% "&Fit in Window"
    mFit = add(qtTrId("view-fit"), {QKeySequence(Qt::CTRL | Qt::Key_0)}, QStringLiteral("zoom-fit"),
               [&context] { context.zoomCommands().fitInWindow(); });
    //% "Zoom to &Selection"
    mZoomToSelection =
        add(qtTrId("view-zoom-selection"), {QKeySequence(Qt::CTRL | Qt::Key_E)},
            QStringLiteral("zoom-selection"), [&context] { context.zoomCommands().zoomToSelection(); });
    //% "&Previous Zoom"
    mPreviousZoom =
        add(qtTrId("view-previous-zoom"), Commands::letter(Qt::Key_E), QStringLiteral("zoom-previous"),
            [&context] { context.zoomCommands().previousZoom(); });
    //% "&Default Zoom"
    add(qtTrId("view-default-zoom"), {QKeySequence(Qt::CTRL | Qt::Key_D)}, {},
        [&context] { context.zoomToDefault(); });
    addZoomTo(menu);
}

void ViewActions::addZoomTo(QMenu& menu)
{
    //: Its items are "1 : 1", "1 : 8" and so on
    //% "Pi&xels to Samples"
    mZooms = menu.addMenu(qtTrId("view-zoom-to"));
    for (const int64_t zoom : {1, 8, 64, 512, 4096, 32768})
        Commands::add(*mZooms, ZoomReadout::textOf(static_cast<double>(zoom)),
                      zoom == 1 ? QList<QKeySequence>{QKeySequence(Qt::CTRL | Qt::Key_1)}
                                : QList<QKeySequence>(),
                      [this, zoom] { mWindow.view().context().zoomCommands().zoomTo(zoom); });
}

QList<QAction*> ViewActions::zoomChoices() const
{
    return QList<QAction*>{mFit, mZoomToSelection, mPreviousZoom} + mZooms->actions();
}

void ViewActions::addScrolling(QMenu& menu)
{
    WaveformContext& context = mWindow.view().context();
    //% "Centre on Selection S&tart"
    Commands::add(menu, qtTrId("view-centre-start"), Commands::letter(Qt::Key_Q),
                  [&context] { context.geometry().centerViewOnTime(context.selection().startTime); });
    //% "Centre on Selection E&nd"
    Commands::add(menu, qtTrId("view-centre-end"), Commands::letter(Qt::Key_W),
                  [&context] { context.geometry().centerViewOnTime(context.selection().endTime); });
}

void ViewActions::addUnits(QMenu& menu)
{
    //% "&Ruler Units"
    mUnits = menu.addMenu(qtTrId("view-units"));
    auto* const group = new QActionGroup(mUnits);
    for (const int64_t code : RulerUnitNames::codes()) {
        QAction* const action = Commands::add(*mUnits, RulerUnitNames::name(code), {}, [code] {
            Settings::change(Settings::rulerUnits, static_cast<int>(code));
        });
        action->setCheckable(true);
        action->setData(static_cast<int>(code));
        group->addAction(action);
    }
}

void ViewActions::addScale(QMenu& menu)
{
    //% "&Level Scale"
    mScale = menu.addMenu(qtTrId("view-scale"));
    auto* const group = new QActionGroup(mScale);
    //% "Decibels"
    mDecibels = Commands::add(*mScale, qtTrId("view-scale-decibels"), {},
                              [] { Settings::change(Settings::levelScaleInDecibels, true); });
    //% "From −1 to 1"
    mLinear = Commands::add(*mScale, qtTrId("view-scale-linear"), {},
                            [] { Settings::change(Settings::levelScaleInDecibels, false); });
    mScale->addSeparator();
    //% "Spectrogram with Linear Frequencies"
    addSetting(*mScale, qtTrId("view-spectrogram-linear"), Settings::spectrogramIsLinear);
    for (QAction* const action : {mDecibels, mLinear}) {
        action->setCheckable(true);
        group->addAction(action);
    }
}

void ViewActions::addToggles(QMenu& menu)
{
    //% "Sn&ap to"
    QMenu* const snap = menu.addMenu(qtTrId("view-snap"));
    //% "Markers"
    addSetting(*snap, qtTrId("view-snap-markers"), Settings::snapsToMarkers);
    //% "Zero Crossings"
    addSetting(*snap, qtTrId("view-snap-zero"), Settings::snapsToZeroCrossings);
    menu.addSeparator();
    //% "Spectro&gram"
    addSetting(menu, qtTrId("view-spectrogram"), Settings::showsSpectrogram)
        ->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_G));
    //% "Show O&verview"
    addSetting(menu, qtTrId("view-show-overview"), Settings::showsOverview);
    //% "Show &Markers"
    addSetting(menu, qtTrId("view-show-markers"), Settings::showsMarkers);
    //% "S&how Loudness"
    addSetting(menu, qtTrId("view-show-loudness"), Settings::showsLoudness);
    //% "F&ull Screen"
    Commands::add(menu, qtTrId("view-full-screen"), {QKeySequence(Qt::Key_F11)},
                  [this] { toggleFullScreen(); });
}

QAction* ViewActions::addSetting(QMenu& menu, const QString& text, const QString& key)
{
    QAction* const action =
        Commands::addToggle(menu, text, {}, [key](bool isOn) { Settings::change(key, isOn ? 1 : 0); });
    action->setData(key);
    mSettings.push_back(action);
    return action;
}

void ViewActions::toggleFullScreen()
{
    QWidget& window = mWindow.widget();
    window.setWindowState(window.windowState() ^ Qt::WindowFullScreen);
}

void ViewActions::update()
{
    const UserDefaults& defaults = UserDefaults::standard();
    const bool hasSound = mWindow.document().numberOfFrames() > 0;
    mFit->setEnabled(hasSound);
    mZoomToSelection->setEnabled(!mWindow.controller().selection().isEmpty());
    for (QAction* const action : mUnits->actions())
        action->setChecked(action->data().toInt() == defaults.integerValue(Settings::rulerUnits));
    (defaults.boolValue(Settings::levelScaleInDecibels) ? mDecibels : mLinear)->setChecked(true);
    for (QAction* const action : mSettings)
        action->setChecked(defaults.boolValue(action->data().toString()));
}

} // namespace velloria
