#include "app/recording/AutomaticRecordingSheet.h"

#include "app/recording/RecordingHistoryView.h"
#include "display/TimeFormatter.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kQuietest = -72;
constexpr int kLongest = 60;

QString timeText(double seconds)
{
    TimeFormatter formatter;
    formatter.setPrecision(0.1);
    return formatter.stringWithTime(seconds);
}

} // namespace

AutomaticRecordingSheet::AutomaticRecordingSheet(SoundController& controller, QWidget* parent)
    : QDialog(parent, Qt::Sheet)
    , mController(controller)
    , mAutomatic(controller)
    , mHistory(new RecordingHistoryView(this))
    , mState(new QLabel(this))
{
    //% "Automatic Recording"
    setWindowTitle(qtTrId("automatic-title"));
    setWindowModality(Qt::WindowModal);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(22, 18, 22, 16);
    layout->setSpacing(14);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(mHistory);
    QFont bold = mState->font();
    bold.setBold(true);
    mState->setFont(bold);
    layout->addWidget(mState);
    auto* const grid = new QGridLayout;
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(10);
    grid->setColumnStretch(1, 1);
    addSliders(*grid);
    layout->addLayout(grid);
    auto* const buttons = new QDialogButtonBox(this);
    //% "Done"
    QPushButton* const done = buttons->addButton(qtTrId("automatic-done"), QDialogButtonBox::AcceptRole);
    done->setDefault(true);
    connect(done, &QPushButton::clicked, this, &AutomaticRecordingSheet::reject);
    layout->addWidget(buttons);
    mAutomatic.setBlockHandler([this](const AutoRecordController::Bar& bar) {
        mHistory->addBlock(bar.level, bar.seconds, bar.isWritten);
        showState();
    });
    mAutomatic.setStoppedHandler([this] {
        if (!mIsEnding)
            reject();
    });
    takeSliders();
    showState();
}

QSlider* AutomaticRecordingSheet::addSlider(QGridLayout& grid, const QString& title, int least, int most,
                                            double value)
{
    const int row = grid.rowCount();
    auto* const label = new QLabel(title, this);
    auto* const slider = new QSlider(Qt::Horizontal, this);
    slider->setRange(least, most);
    slider->setValue(static_cast<int>(std::lround(value)));
    slider->setAccessibleName(title);
    label->setBuddy(slider);
    auto* const readout = new QLabel(this);
    readout->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    readout->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("-00 dB")) + 6);
    mReadouts.push_back(readout);
    grid.addWidget(label, row, 0, Qt::AlignRight);
    grid.addWidget(slider, row, 1);
    grid.addWidget(readout, row, 2);
    connect(slider, &QSlider::valueChanged, this, &AutomaticRecordingSheet::takeSliders);
    return slider;
}

void AutomaticRecordingSheet::addSliders(QGridLayout& grid)
{
    const AutoRecordGate::Settings settings = mAutomatic.settings();
    //% "Begin at:"
    mStart = addSlider(grid, qtTrId("automatic-start"), kQuietest, 0, settings.startLevel);
    //% "End below:"
    mStop = addSlider(grid, qtTrId("automatic-stop"), kQuietest, 0, settings.stopLevel);
    //% "Wait before ending:"
    mDuration = addSlider(grid, qtTrId("automatic-duration"), 1, kLongest, settings.stopDuration);
}

void AutomaticRecordingSheet::takeSliders()
{
    // While they are being made.
    if (!mDuration)
        return;
    mAutomatic.setStartLevel(mStart->value());
    mAutomatic.setStopLevel(mStop->value());
    mAutomatic.setStopDuration(mDuration->value());
    mReadouts[0]->setText(mAutomatic.startReadout());
    mReadouts[1]->setText(mAutomatic.stopReadout());
    mReadouts[2]->setText(mAutomatic.durationReadout());
    mHistory->setGuides(mStart->value(), mStop->value());
}

void AutomaticRecordingSheet::showState()
{
    const SoundDocument& document = mController.document();
    const QString recorded =
        timeText(static_cast<double>(document.recording().numRecordedFrames()) / document.sampleRate());
    //: %1 is a time
    //% "Recording  ·  %1"
    const QString recording = qtTrId("automatic-recording").arg(recorded);
    //: %1 is the time recorded so far
    //% "Waiting for a sound that is loud enough  ·  %1"
    const QString waiting = qtTrId("automatic-waiting").arg(recorded);
    mState->setText(mAutomatic.timeRemainingBeforeStop() > 0.0 ? recording : waiting);
}

QString AutomaticRecordingSheet::stateText() const
{
    return mState->text();
}

bool AutomaticRecordingSheet::begin()
{
    return !mAutomatic.begin();
}

void AutomaticRecordingSheet::reject()
{
    if (mIsEnding)
        return;
    mIsEnding = true;
    mAutomatic.completeAction();
    QDialog::reject();
}

} // namespace velloria
