#include "app/window/MarkerListDock.h"

#include <QCoreApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QTableView>

namespace velloria
{

namespace
{

constexpr int kNarrowestWidth = 240;

} // namespace

MarkerListDock::MarkerListDock(QWidget* parent)
    : QDockWidget(parent)
    , mModel(new MarkerListModel(this))
    , mList(new QTableView(this))
{
    //% "Marker List"
    setWindowTitle(qtTrId("marker-list"));
    setObjectName(QStringLiteral("markers"));
    setAllowedAreas(Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea);
    mList->setModel(mModel);
    mList->setAccessibleName(windowTitle());
    mList->setFrameShape(QFrame::NoFrame);
    mList->setShowGrid(false);
    mList->setSelectionBehavior(QAbstractItemView::SelectRows);
    mList->setAlternatingRowColors(true);
    mList->verticalHeader()->hide();
    mList->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 8);
    mList->horizontalHeader()->setSectionResizeMode(MarkerListModel::nameColumn, QHeaderView::Stretch);
    mList->horizontalHeader()->setHighlightSections(false);
    mList->setColumnWidth(MarkerListModel::timeColumn,
                          fontMetrics().horizontalAdvance(QStringLiteral("00:00'00.0000")) + 24);
    mList->setMinimumWidth(kNarrowestWidth);
    setWidget(mList);
    connect(mList, &QTableView::clicked, this, &MarkerListDock::choose);
    mList->installEventFilter(this);
}

void MarkerListDock::setDocument(std::shared_ptr<SoundDocument> document)
{
    mDocument = document;
    mModel->setDocument(std::move(document));
}

bool MarkerListDock::eventFilter(QObject* object, QEvent* event)
{
    // Here Delete removes markers; a shortcut would quarrel with the window's own.
    const bool isPress = event->type() == QEvent::KeyPress;
    if ((isPress || event->type() == QEvent::ShortcutOverride) &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Delete) {
        event->accept();
        if (isPress)
            deleteChosen();
        return true;
    }
    return QDockWidget::eventFilter(object, event);
}

void MarkerListDock::choose(const QModelIndex& index)
{
    if (const AudioMarkerPtr marker = mModel->markerAtRow(index.row()))
        Q_EMIT markerChosen(marker->secondsWithSampleRate(mDocument->sampleRate()));
}

void MarkerListDock::deleteChosen()
{
    std::vector<AudioMarkerPtr> chosen;
    for (const QModelIndex& index : mList->selectionModel()->selectedRows())
        chosen.push_back(mModel->markerAtRow(index.row()));
    //: The name of an undo step
    //% "Delete Markers"
    mDocument->removeAudioMarkers(chosen, qtTrId("marker-list-delete"));
}

} // namespace velloria
