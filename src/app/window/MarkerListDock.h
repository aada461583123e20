#pragma once

#include "app/window/MarkerListModel.h"

#include <QDockWidget>
#include <functional>

class QTableView;

namespace velloria
{

/// The list of a document's markers beside the waveform. Names and times are edited in place, Delete takes
/// markers out, and one that is chosen gets the cue.
class MarkerListDock : public QDockWidget
{
    Q_OBJECT

public:
    explicit MarkerListDock(QWidget* parent);

    MarkerListModel& model() { return *mModel; }
    QTableView& list() { return *mList; }
    void setDocument(std::shared_ptr<SoundDocument> document);

Q_SIGNALS:
    void markerChosen(double seconds);

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void deleteChosen();
    void choose(const QModelIndex& index);

    MarkerListModel* mModel;
    QTableView* mList;
    std::shared_ptr<SoundDocument> mDocument;
};

} // namespace velloria
