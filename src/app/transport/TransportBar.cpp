#include "app/transport/TransportBar.h"

#include "app/look/ThemedIcon.h"
#include "app/transport/LoudnessView.h"
#include "app/transport/OutputLevelSlider.h"
#include "app/transport/StereoMeter.h"
#include "app/transport/TimeReadout.h"

#include <QAction>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QPainter>
#include <QToolButton>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kIconSize = 22;

/// An icon that follows the desktop's colours and the screen's resolution.
class IconLabel : public QWidget
{
public:
    IconLabel(const QString& name, QWidget* parent)
        : QWidget(parent)
        , mIcon(ThemedIcon::named(name))
    {
        setFixedSize(kIconSize, kIconSize);
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        mIcon.paint(&painter, rect());
    }

private:
    QIcon mIcon;
};

} // namespace

TransportBar::TransportBar(const QList<QAction*>& buttons, QMenu& speeds, WaveformContext& context,
                           QWidget* parent)
    : QWidget(parent)
    , mLayout(new QHBoxLayout(this))
    , mButtons(new QHBoxLayout)
    , mReadout(new TimeReadout(context, this))
    //% "Output level, left"
    , mMeters(new StereoMeter(qtTrId("output-meter-left"),
                              //% "Output level, right"
                              qtTrId("output-meter-right"), this))
    , mLoudness(new LoudnessView(this))
    , mSlider(new OutputLevelSlider(this))
    , mLevelText(new QLabel(this))
    , mSpeed(new QToolButton(this))
{
    mLayout->setContentsMargins(8, 7, 12, 5);
    mLayout->setSpacing(12);
    addButtons(buttons);
    mLayout->addWidget(mReadout);
    addSpeed(speeds);
    mLayout->addStretch(1);
    addLevel();
}

void TransportBar::addButtons(const QList<QAction*>& buttons)
{
    mButtons->setSpacing(2);
    mLayout->addLayout(mButtons);
    for (QAction* const action : buttons)
        addButton(*action);
}

QToolButton* TransportBar::addButton(QAction& action)
{
    auto* const button = new QToolButton(this);
    button->setDefaultAction(&action);
    button->setAutoRaise(true);
    button->setIconSize({kIconSize, kIconSize});
    button->setFocusPolicy(Qt::TabFocus);
    mButtons->addWidget(button);
    return button;
}

void TransportBar::addMeters(QWidget& meters)
{
    mLayout->addWidget(&meters);
}

void TransportBar::addSpeed(QMenu& speeds)
{
    mSpeed->setAutoRaise(true);
    mSpeed->setPopupMode(QToolButton::InstantPopup);
    mSpeed->setToolButtonStyle(Qt::ToolButtonTextOnly);
    mSpeed->setMenu(&speeds);
    //% "Speed at which it plays, at the same pitch"
    mSpeed->setToolTip(qtTrId("transport-speed-tip"));
    mSpeed->setAccessibleName(mSpeed->toolTip());
    mLayout->addWidget(mSpeed);
    showSpeed(2.0);
    mSpeed->setMinimumWidth(mSpeed->sizeHint().width());
    showSpeed(1.0);
}

void TransportBar::addLevel()
{
    mLevelText->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    mLevelText->setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral("-48.0 dB")) + 4);
    mLayout->addWidget(new IconLabel(QStringLiteral("output-level"), this));
    mLayout->addWidget(mSlider);
    mLayout->addWidget(mLevelText);
    mLayout->addWidget(mMeters);
    mLayout->addWidget(mLoudness);
    mLoudness->hide();
}

void TransportBar::showSpeed(double speed)
{
    mSpeed->setText(qtTrId("transport-percent").arg(QLocale().toString(std::lround(speed * 100))));
}

void TransportBar::showOutputLevel(double decibels)
{
    mSlider->setDecibels(decibels);
    //: A level; %1 is a number
    //% "%1 dB"
    mLevelText->setText(qtTrId("level-decibels").arg(OutputLevelSlider::textOf(decibels)));
}

QString TransportBar::outputLevelText() const
{
    return mLevelText->text();
}

QString TransportBar::speedText() const
{
    return mSpeed->text();
}

} // namespace velloria
