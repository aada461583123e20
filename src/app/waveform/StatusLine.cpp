#include "app/waveform/StatusLine.h"

#include "app/look/RulerUnitNames.h"
#include "app/waveform/WaveformContext.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QToolButton>
#include <algorithm>

namespace velloria
{

StatusLine::StatusLine(WaveformContext& context, QWidget* parent)
    : QWidget(parent)
    , mContext(context)
    , mUnits(new QToolButton(this))
{
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(8, 5, 12, 5);
    layout->setSpacing(8);
    mUnits->setAutoRaise(true);
    mUnits->setPopupMode(QToolButton::InstantPopup);
    mUnits->setToolButtonStyle(Qt::ToolButtonTextOnly);
    //% "Units of the ruler and the times"
    mUnits->setToolTip(qtTrId("status-units-tip"));
    mUnits->setAccessibleName(mUnits->toolTip());
    layout->addWidget(mUnits);
    //% "Selection"
    mSelection = addField(qtTrId("status-selection"), qtTrId("status-selection"));
    //% "Length"
    mLength = addField(qtTrId("status-length"), qtTrId("status-length"));
    mMessage = new QLabel(this);
    mMessage->setForegroundRole(QPalette::PlaceholderText);
    mMessage->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    layout->addSpacing(8);
    layout->addWidget(mMessage, 1);
    mFormat = new QLabel(this);
    //% "Format of the sound"
    mFormat->setAccessibleName(qtTrId("status-format"));
    layout->addWidget(mFormat);

    connect(&mContext, &WaveformContext::settingsChanged, this, &StatusLine::takeSettings);
    connect(&mContext, &WaveformContext::documentReloaded, this, &StatusLine::takeSettings);
    connect(&mContext, &WaveformContext::selectionChanged, this, &StatusLine::updateSelection);
    takeSettings();
}

QLabel* StatusLine::addField(const QString& caption, const QString& accessibleName)
{
    auto* const captionLabel = new QLabel(caption, this);
    captionLabel->setForegroundRole(QPalette::PlaceholderText);
    auto* const value = new QLabel(this);
    value->setAccessibleName(accessibleName);
    auto* const row = static_cast<QHBoxLayout*>(layout());
    row->addSpacing(8);
    row->addWidget(captionLabel);
    row->addWidget(value);
    return value;
}

QString StatusLine::textOf(double time) const
{
    return mFormatter.stringForObjectValue(time);
}

void StatusLine::takeSettings()
{
    mFormatter.setSampleRate(mContext.subject().sampleRate());
    mFormatter.setUnits(mContext.ruler().units());
    mUnits->setText(RulerUnitNames::shortName(mContext.ruler().units()));
    // As wide as the longest time, so that nothing moves while times change.
    const QString longest = textOf(std::max(mContext.subject().totalTime(), 599.0));
    const int timeWidth = fontMetrics().horizontalAdvance(longest) + 6;
    mLength->setFixedWidth(timeWidth);
    mSelection->setFixedWidth(2 * timeWidth + fontMetrics().horizontalAdvance(QStringLiteral(" \u2013 ")));
    updateSelection();
}

void StatusLine::updateSelection()
{
    const SoundSelection& selection = mContext.selection();
    const bool isEmpty = selection.endTime <= selection.startTime;
    //: Shown in place of the selection's times when nothing is selected
    //% "none"
    mSelection->setText(isEmpty ? qtTrId("status-no-selection")
                                : textOf(selection.startTime) + QStringLiteral(" \u2013 ") +
                                      textOf(selection.endTime));
    mLength->setText(isEmpty ? textOf(0) : textOf(selection.duration()));
}

void StatusLine::updateMessage()
{
    mMessage->setText(mActivity.isEmpty() ? mHint : mActivity);
}

void StatusLine::setFormat(const QString& format)
{
    mFormat->setText(format);
}

void StatusLine::setActivity(const QString& activity)
{
    mActivity = activity;
    updateMessage();
}

void StatusLine::setHint(const QString& hint)
{
    mHint = hint;
    updateMessage();
}

void StatusLine::setUnitsMenu(QMenu* menu)
{
    mUnits->setMenu(menu);
}

QString StatusLine::selectionText() const
{
    return mSelection->text();
}

QString StatusLine::lengthText() const
{
    return mLength->text();
}

QString StatusLine::activityText() const
{
    return mMessage->text();
}

} // namespace velloria
