#pragma once

#include "app/sheets/FormSheet.h"
#include "controllers/TimerRecordingEnabledController.h"
#include "controllers/TimerRecordingSetupController.h"

class QDateTimeEdit;
class QDoubleSpinBox;
class QLabel;
class QPushButton;

namespace velloria
{

/// Asks when a timer recording is to begin and to end.
class TimerRecordingSetupSheet : public FormSheet
{
    Q_OBJECT

public:
    explicit TimerRecordingSetupSheet(QWidget* parent);

    /// Start, end and duration, which are kept for the next time.
    const TimerRecordingSetupController& dates() const { return mDates; }
    void accept() override;

private:
    QDateTimeEdit* addDate(const QString& title);
    void showDates();

    TimerRecordingSetupController mDates;
    QDateTimeEdit* mStart;
    QDateTimeEdit* mEnd;
    QDoubleSpinBox* mDuration;
};

/// Waits, records and closes itself; Cancel and, later, Stop Recording end it early.
class TimerRecordingEnabledSheet : public QDialog
{
    Q_OBJECT

public:
    TimerRecordingEnabledSheet(SoundController& controller, const TimerRecordingSetupController& dates,
                               QWidget* parent);

    void reject() override;

private:
    void showTimes();
    void didChange(const MaybeError& error);

    TimerRecordingEnabledController mTimer;
    QLabel* mState;
    QLabel* mToGo;
    QPushButton* mCancel;
    QTimer mClock;
};

} // namespace velloria
