#include "app/recording/TimerRecordingSheets.h"

#include <QCoreApplication>
#include <QDateTimeEdit>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace velloria
{

namespace
{

constexpr double kMostMinutes = 10000.0;
constexpr double kBigFont = 2.6;
constexpr int kDateWidth = 210;

QString hoursText(int64_t seconds)
{
    return QString::asprintf("%lld:%02lld:%02lld", static_cast<long long>(seconds / 3600),
                             static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60));
}

QString dateText(const QDateTime& date)
{
    return QLocale().toString(date, QLocale::ShortFormat);
}

} // namespace

TimerRecordingSetupSheet::TimerRecordingSetupSheet(QWidget* parent)
    //% "Timer Recording"
    : FormSheet(qtTrId("timer-title"),
                //% "Wait and Record"
                qtTrId("timer-ok"), parent)
    //% "Start:"
    , mStart(addDate(qtTrId("timer-start")))
    //% "End:"
    , mEnd(addDate(qtTrId("timer-end")))
    , mDuration(new QDoubleSpinBox(this))
{
    mDuration->setRange(0.0, kMostMinutes);
    mDuration->setDecimals(1);
    //: Behind a number of minutes
    //% " min."
    mDuration->setSuffix(qtTrId("timer-minutes"));
    //% "Duration:"
    form().addRow(qtTrId("timer-duration"), mDuration);
    //% "It is appended to the document. Velloria has to stay open until then, and the machine awake."
    addNote(qtTrId("timer-note"));
    connect(mStart, &QDateTimeEdit::dateTimeChanged, this, [this](const QDateTime& date) {
        mDates.setStartDate(date);
        showDates();
    });
    connect(mEnd, &QDateTimeEdit::dateTimeChanged, this, [this](const QDateTime& date) {
        mDates.setEndDate(date);
        showDates();
    });
    connect(mDuration, &QDoubleSpinBox::valueChanged, this, [this](double minutes) {
        mDates.setDuration(minutes);
        showDates();
    });
    setCondition([this] { return mDates.isAcceptable(); });
    showDates();
}

QDateTimeEdit* TimerRecordingSetupSheet::addDate(const QString& title)
{
    auto* const edit = new QDateTimeEdit(this);
    edit->setMinimumWidth(kDateWidth);
    edit->setCalendarPopup(true);
    edit->setMinimumDateTime(mDates.earliestDate());
    edit->setDisplayFormat(QLocale().dateTimeFormat(QLocale::ShortFormat));
    form().addRow(title, edit);
    return edit;
}

void TimerRecordingSetupSheet::showDates()
{
    const QSignalBlocker startBlocker(mStart);
    const QSignalBlocker endBlocker(mEnd);
    const QSignalBlocker durationBlocker(mDuration);
    mStart->setDateTime(mDates.startDate());
    mEnd->setDateTime(mDates.endDate());
    mDuration->setValue(mDates.duration());
    check();
}

void TimerRecordingSetupSheet::accept()
{
    mDates.confirm();
    FormSheet::accept();
}

TimerRecordingEnabledSheet::TimerRecordingEnabledSheet(SoundController& controller,
                                                       const TimerRecordingSetupController& dates,
                                                       QWidget* parent)
    : QDialog(parent, Qt::Sheet)
    , mTimer(controller, dates.startDate(), dates.endDate())
    , mState(new QLabel(this))
    , mToGo(new QLabel(this))
    , mCancel(nullptr)
{
    setWindowTitle(qtTrId("timer-title"));
    setWindowModality(Qt::WindowModal);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(30, 20, 30, 16);
    layout->setSpacing(8);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    mState->setAlignment(Qt::AlignCenter);
    QFont big = mToGo->font();
    big.setPointSizeF(big.pointSizeF() * kBigFont);
    mToGo->setFont(big);
    mToGo->setAlignment(Qt::AlignCenter);
    mToGo->setMinimumWidth(260);
    //: From one date to another, and how long that is
    //% "%1  –  %2,  %3"
    auto* const range =
        new QLabel(qtTrId("timer-range")
                       .arg(dateText(mTimer.startDate()), dateText(mTimer.endDate()), mTimer.durationText()),
                   this);
    range->setAlignment(Qt::AlignCenter);
    range->setForegroundRole(QPalette::PlaceholderText);
    for (QLabel* const label : {mState, mToGo, range})
        layout->addWidget(label);
    layout->addSpacing(10);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    mCancel = buttons->button(QDialogButtonBox::Cancel);
    mCancel->setText(qtTrId("cancel"));
    buttons->setCenterButtons(true);
    connect(buttons, &QDialogButtonBox::rejected, this, &TimerRecordingEnabledSheet::reject);
    layout->addWidget(buttons);
    mTimer.setChangeHandler([this](const MaybeError& error) { didChange(error); });
    connect(&mClock, &QTimer::timeout, this, &TimerRecordingEnabledSheet::showTimes);
    mClock.start(std::chrono::seconds(1));
    showTimes();
}

void TimerRecordingEnabledSheet::showTimes()
{
    // Someone may have ended the recording otherwise.
    if (mTimer.isRecording())
        mTimer.check();
    //% "Recording ends in"
    const QString endsIn = qtTrId("timer-ends-in");
    //% "Recording begins in"
    const QString beginsIn = qtTrId("timer-begins-in");
    mState->setText(mTimer.isRecording() ? endsIn : beginsIn);
    mToGo->setText(hoursText(mTimer.secondsToGo()));
}

void TimerRecordingEnabledSheet::didChange(const MaybeError&)
{
    // What went wrong the window itself says.
    if (mTimer.isOver()) {
        QDialog::reject();
        return;
    }
    //% "Stop Recording"
    mCancel->setText(qtTrId("timer-stop"));
    showTimes();
}

void TimerRecordingEnabledSheet::reject()
{
    if (mTimer.isOver())
        QDialog::reject();
    else
        mTimer.stopRecording();
}

} // namespace velloria
