#include "app/progress/OpeningBar.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kSteps = 1000;
constexpr int kBarHeight = 8;

} // namespace

OpeningBar::OpeningBar(QWidget* parent)
    : QWidget(parent)
    , mBar(new QProgressBar(this))
    , mRemaining(new QLabel(this))
{
    //: A file is being opened; shown beside a progress bar
    //% "Opening"
    auto* const title = new QLabel(qtTrId("opening-bar"), this);
    mBar->setRange(0, kSteps);
    mBar->setTextVisible(false);
    mBar->setFixedHeight(kBarHeight);
    mBar->setAccessibleName(title->text());
    mRemaining->setForegroundRole(QPalette::PlaceholderText);
    // Room for the longest text, so that the bar keeps its width.
    mRemaining->setFixedWidth(fontMetrics().horizontalAdvance(textOf(QStringLiteral("00 minutes"))) + 8);
    auto* const cancel = new QPushButton(qtTrId("cancel"), this);
    cancel->setShortcut(Qt::Key_Escape);
    cancel->setFocusPolicy(Qt::NoFocus);
    connect(cancel, &QPushButton::clicked, this, &OpeningBar::cancelRequested);

    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(12, 6, 12, 6);
    layout->setSpacing(12);
    layout->addWidget(title);
    layout->addWidget(mBar, 1);
    layout->addWidget(mRemaining);
    layout->addWidget(cancel);
}

QString OpeningBar::textOf(const QString& remaining)
{
    return remaining.isEmpty() ? QString() : qtTrId("progress-left").arg(remaining);
}

void OpeningBar::showProgress(double value, const QString& remaining)
{
    mBar->setValue(static_cast<int>(std::lround(value * kSteps)));
    mRemaining->setText(textOf(remaining));
}

} // namespace velloria
