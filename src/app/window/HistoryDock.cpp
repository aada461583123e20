#include "app/window/HistoryDock.h"

#include <QCoreApplication>
#include <QUndoView>

namespace velloria
{

namespace
{

constexpr int kNarrowestWidth = 180;

} // namespace

HistoryDock::HistoryDock(QWidget* parent)
    : QDockWidget(parent)
    , mList(new QUndoView(this))
{
    //% "Undo History"
    setWindowTitle(qtTrId("history"));
    setObjectName(QStringLiteral("history"));
    setAllowedAreas(Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea);
    mList->setAccessibleName(windowTitle());
    //: The first line of the undo history
    //% "Original"
    mList->setEmptyLabel(qtTrId("history-original"));
    mList->setFrameShape(QFrame::NoFrame);
    mList->setUniformItemSizes(true);
    mList->setSpacing(2);
    mList->setMinimumWidth(kNarrowestWidth);
    setWidget(mList);
}

void HistoryDock::setStack(QUndoStack* stack)
{
    mList->setStack(stack);
}

} // namespace velloria
