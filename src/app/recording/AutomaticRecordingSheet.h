#pragma once

#include "controllers/AutoRecordController.h"

#include <QDialog>

class QGridLayout;
class QLabel;
class QSlider;

namespace velloria
{

class RecordingHistoryView;

/// Records what is loud enough for as long as it is open. Done, Escape and whatever ends the recording close
/// it.
class AutomaticRecordingSheet : public QDialog
{
    Q_OBJECT

public:
    AutomaticRecordingSheet(SoundController& controller, QWidget* parent);

    /// False when nothing can be recorded; the window has said why.
    bool begin();
    void reject() override;

    RecordingHistoryView& history() { return *mHistory; }
    QString stateText() const;

private:
    QSlider* addSlider(QGridLayout& grid, const QString& title, int least, int most, double value);
    void addSliders(QGridLayout& grid);
    void takeSliders();
    void showState();

    SoundController& mController;
    AutoRecordController mAutomatic;
    RecordingHistoryView* mHistory;
    QLabel* mState;
    QSlider* mStart = nullptr;
    QSlider* mStop = nullptr;
    QSlider* mDuration = nullptr;
    std::vector<QLabel*> mReadouts;
    bool mIsEnding = false;
};

} // namespace velloria
