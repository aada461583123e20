#pragma once

#include <QDockWidget>

class QUndoStack;
class QUndoView;

namespace velloria
{

/// The list of a document's steps beside the waveform; a click on one goes there.
class HistoryDock : public QDockWidget
{
    Q_OBJECT

public:
    explicit HistoryDock(QWidget* parent);

    void setStack(QUndoStack* stack);
    QUndoView& list() { return *mList; }

private:
    QUndoView* mList;
};

} // namespace velloria
