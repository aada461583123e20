// What a document's window consists of.

#include "app/window/DocumentWindow.h"

#include "app/menus/DocumentMenus.h"
#include "app/menus/EditActions.h"
#include "app/menus/FileActions.h"
#include "app/menus/RecordActions.h"
#include "app/menus/TransportActions.h"
#include "app/menus/ViewActions.h"
#include "app/progress/MessageBar.h"
#include "app/transport/LoudnessView.h"
#include "app/transport/OutputLevelSlider.h"
#include "app/transport/TransportBar.h"
#include "app/waveform/LevelScale.h"
#include "app/waveform/RulerWidget.h"
#include "app/waveform/StatusLine.h"
#include "app/waveform/WaveformView.h"
#include "app/waveform/WaveformWidget.h"
#include "app/waveform/ZoomReadout.h"
#include "app/waveform/ZoomSlider.h"
#include "app/window/HistoryDock.h"
#include "app/window/MarkerListDock.h"
#include "controllers/TransportController.h"

#include <QMenu>
#include <QMenuBar>
#include <QToolBar>
#include <QVBoxLayout>

namespace velloria
{

namespace
{

constexpr int kIconSize = 20;

} // namespace

void DocumentWindow::buildView()
{
    auto* const central = new QWidget(this);
    auto* const layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    mView = new WaveformView(*mSubject, central);
    mStatusLine = new StatusLine(mView->context(), central);
    mMessageBar = new MessageBar(central);
    layout->addWidget(mMessageBar);
    layout->addWidget(mView, 1);
    layout->addWidget(mStatusLine);
    setCentralWidget(central);
    connect(&mView->waveform(), &WaveformWidget::hintChanged, mStatusLine, &StatusLine::setHint);
}

void DocumentWindow::buildHistory()
{
    mHistory = new HistoryDock(this);
    mHistory->setStack(&document().undoManager());
    addDockWidget(Qt::RightDockWidgetArea, mHistory);
    mHistory->hide();
}

void DocumentWindow::buildMarkerList()
{
    mMarkerList = new MarkerListDock(this);
    mMarkerList->setDocument(mController->sharedDocument());
    addDockWidget(Qt::RightDockWidgetArea, mMarkerList);
    mMarkerList->hide();
    connect(mMarkerList, &MarkerListDock::markerChosen, this,
            [this](double seconds) { mView->context().goTo(seconds); });
}

void DocumentWindow::buildMenus()
{
    mMenus = std::make_unique<DocumentMenus>(*this, *menuBar(), *mHistory->toggleViewAction(),
                                             *mMarkerList->toggleViewAction());
    mStatusLine->setUnitsMenu(&mMenus->view().unitsMenu());
    connect(&mView->ruler(), &RulerWidget::unitsMenuRequested, this,
            [this](const QPoint& position) { mMenus->view().unitsMenu().popup(position); });
    connect(&mView->levelScale(), &LevelScale::scaleMenuRequested, this,
            [this](const QPoint& position) { mMenus->view().scaleMenu().popup(position); });
}

void DocumentWindow::buildToolBar()
{
    //% "Tool Bar"
    auto* const bar = new QToolBar(qtTrId("tool-bar"), this);
    bar->setMovable(false);
    bar->setFloatable(false);
    bar->setContextMenuPolicy(Qt::PreventContextMenu);
    bar->setIconSize({kIconSize, kIconSize});
    bar->addAction(mMenus->file().openAction());
    bar->addAction(mMenus->file().saveAction());
    bar->addSeparator();
    bar->addAction(mMenus->edit().undoAction());
    bar->addAction(mMenus->edit().redoAction());
    auto* const space = new QWidget(bar);
    space->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    bar->addWidget(space);
    bar->addAction(mMenus->view().zoomOutAction());
    bar->addWidget(new ZoomSlider(mView->context(), bar));
    bar->addAction(mMenus->view().zoomInAction());
    auto* const readout = new ZoomReadout(mView->context(), bar);
    auto* const zooms = new QMenu(readout);
    zooms->addActions(mMenus->view().zoomChoices());
    zooms->insertSeparator(zooms->actions().at(3));
    readout->setMenu(zooms);
    bar->addWidget(readout);
    bar->addSeparator();
    bar->addAction(mMenus->view().fitAction());
    bar->addAction(mMenus->view().zoomToSelectionAction());
    bar->addAction(mMenus->view().previousZoomAction());
    addToolBar(bar);
    setContextMenuPolicy(Qt::NoContextMenu);
}

void DocumentWindow::buildTransportBar()
{
    auto* const layout = static_cast<QVBoxLayout*>(centralWidget()->layout());
    mTransportBar = new TransportBar(mMenus->transport().buttons(), mMenus->transport().speedMenu(),
                                     mView->context(), centralWidget());
    layout->insertWidget(layout->indexOf(mStatusLine), mTransportBar);
    connect(&mTransportBar->levelSlider(), &OutputLevelSlider::decibelsAsked, this,
            [this](double decibels) { mController->transport().takeOutputGainValueFrom(decibels); });
    connect(&mTransportBar->loudness(), &LoudnessView::clicked, this,
            [this] { mController->transport().resetLoudness(); });
    connect(&mView->context(), &WaveformContext::viewChanged, this,
            [this] { mController->transport().didScrollHorizontally(); });
    mMenus->recording().addToBar(*mTransportBar);
    playbackVolumeDidChange();
    showOrHideLoudness();
}

} // namespace velloria
