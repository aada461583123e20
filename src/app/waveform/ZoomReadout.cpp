#include "app/waveform/ZoomReadout.h"

#include "app/waveform/WaveformContext.h"

#include <QEvent>
#include <QLocale>
#include <QStyle>
#include <QStyleOptionToolButton>
#include <cmath>

namespace velloria
{

namespace
{

/// Three digits at least, and no decimals where there are none.
QString numberText(double number)
{
    const int decimals = number < 10 ? 2 : number < 100 ? 1 : 0;
    const double scale = std::pow(10.0, decimals);
    const double rounded = std::round(number * scale) / scale;
    return QLocale().toString(rounded, 'f', rounded == std::floor(rounded) ? 0 : decimals);
}

/// "250 µs", "11.6 ms", "2.5 s" or "3 min"
QString durationText(double seconds)
{
    if (seconds < 1e-3)
        //: A time; %1 is a number of microseconds
        //% "%1 µs"
        return qtTrId("zoom-microseconds").arg(numberText(seconds * 1e6));
    if (seconds < 1)
        //: A time; %1 is a number of milliseconds
        //% "%1 ms"
        return qtTrId("zoom-milliseconds").arg(numberText(seconds * 1e3));
    if (seconds < 120)
        //: A time; %1 is a number of seconds
        //% "%1 s"
        return qtTrId("zoom-seconds").arg(numberText(seconds));
    //: A time; %1 is a number of minutes
    //% "%1 min"
    return qtTrId("zoom-minutes").arg(numberText(seconds / 60));
}

} // namespace

ZoomReadout::ZoomReadout(WaveformContext& context, QWidget* parent)
    : QToolButton(parent)
    , mContext(context)
{
    setAutoRaise(true);
    setPopupMode(QToolButton::InstantPopup);
    setToolButtonStyle(Qt::ToolButtonTextOnly);
    setFocusPolicy(Qt::TabFocus);
    takeWidth();
    showZoom();
    connect(&mContext, &WaveformContext::viewChanged, this, &ZoomReadout::showZoom);
}

QString ZoomReadout::textOf(double zoom)
{
    //: How close the view is: so many samples (%1) are one pixel
    //% "1 : %1"
    return qtTrId("zoom-ratio").arg(numberText(zoom));
}

void ZoomReadout::showZoom()
{
    const QString text = textOf(mContext.geometry().zoom());
    if (text == this->text())
        return;
    setText(text);
    //: What a screen reader says of the button; %1 is "1 : 512"
    //% "Zoom: %1"
    setAccessibleName(qtTrId("zoom-readout-name").arg(text));
}

QString ZoomReadout::description() const
{
    const WaveformViewGeometry& geometry = mContext.geometry();
    //: Tool tip; %1 is "1 : 512", %2 and %3 are times ("11.6 ms")
    //% "Pixels to samples: %1\nOne pixel: %2\nWhat the window shows: %3"
    return qtTrId("zoom-readout-tip")
        .arg(text(), durationText(geometry.secondsFromPixels(1)),
             durationText(geometry.secondsFromPixels(geometry.viewWidth())));
}

void ZoomReadout::takeWidth()
{
    // As wide as the longest text, so that nothing beside it moves.
    QStyleOptionToolButton option;
    initStyleOption(&option);
    const QString longest = textOf(WaveformViewGeometry::kMaxZoom);
    const QSize text(fontMetrics().horizontalAdvance(longest) + 12, fontMetrics().height());
    setFixedWidth(style()->sizeFromContents(QStyle::CT_ToolButton, &option, text, this).width() +
                  style()->pixelMetric(QStyle::PM_MenuButtonIndicator, &option, this));
}

void ZoomReadout::changeEvent(QEvent* event)
{
    QToolButton::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        takeWidth();
}

bool ZoomReadout::event(QEvent* event)
{
    // Asked only when it is shown, for it changes with each step of the wheel.
    if (event->type() == QEvent::ToolTip)
        setToolTip(description());
    return QToolButton::event(event);
}

} // namespace velloria
