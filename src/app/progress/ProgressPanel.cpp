#include "app/progress/ProgressPanel.h"

#include "app/look/ItemNames.h"

#include <QCoreApplication>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kWidth = 380;
constexpr int kMargin = 20;
constexpr qsizetype kMostCharacters = 200;
constexpr int kSteps = 1000;

} // namespace

ProgressPanel::ProgressPanel(const QString& title, QWidget* parent)
    : QDialog(parent, Qt::Sheet)
    , mTitle(new QLabel(this))
    , mBar(new QProgressBar(this))
    , mRemaining(new QLabel(this))
    //% "Cancel"
    , mCancel(new QPushButton(qtTrId("cancel"), this))
{
    if (parent)
        setWindowModality(Qt::WindowModal);
    QFont bold = mTitle->font();
    bold.setBold(true);
    mTitle->setFont(bold);
    setTitle(title);
    mBar->setRange(0, kSteps);
    mBar->setTextVisible(false);
    mBar->setAccessibleName(title);
    mRemaining->setForegroundRole(QPalette::PlaceholderText);
    mCancel->setDefault(true);

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(kMargin, 18, kMargin, 16);
    layout->setSpacing(10);
    layout->addWidget(mTitle);
    layout->addWidget(mBar);
    auto* const row = new QHBoxLayout;
    row->addWidget(mRemaining, 1);
    row->addWidget(mCancel);
    layout->addLayout(row);
    setFixedWidth(kWidth);
    connect(mCancel, &QPushButton::clicked, this, &ProgressPanel::reject);
}

void ProgressPanel::setTitle(const QString& title)
{
    // With the name of a file, perhaps, which may be wider than the panel.
    const QString line = ItemNames::shown(title, kMostCharacters);
    setWindowTitle(line);
    mTitle->setText(mTitle->fontMetrics().elidedText(line, Qt::ElideMiddle, kWidth - 2 * kMargin));
    mTitle->setVisible(!title.isEmpty());
}

void ProgressPanel::show(const ProgressClock::Display& display)
{
    mBar->setValue(static_cast<int>(std::lround(display.value * kSteps)));
    if (mCancel->isEnabled()) {
        //: %1 is a time such as "12 seconds"
        //% "About %1 left"
        mRemaining->setText(display.remaining.isEmpty() ? QString()
                                                        : qtTrId("progress-left").arg(display.remaining));
    }
    if (!isVisible())
        QDialog::show();
}

void ProgressPanel::showCancelling()
{
    mCancel->setEnabled(false);
    //% "Cancelling…"
    mRemaining->setText(qtTrId("progress-cancelling"));
}

void ProgressPanel::reject()
{
    if (!mCancel->isEnabled())
        return;
    showCancelling();
    Q_EMIT cancelRequested();
}

} // namespace velloria
