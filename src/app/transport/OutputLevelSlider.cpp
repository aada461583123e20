#include "app/transport/OutputLevelSlider.h"

#include "app/look/Theme.h"

#include <QCoreApplication>
#include <QPainter>
#include <QSignalBlocker>
#include <QStyle>
#include <QStyleOptionSlider>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kStepsPerDecibel = 10;
constexpr int kLowestDB = -48;
constexpr int kHighestDB = 12;
constexpr int kWidth = 120;
constexpr int kMarkHeight = 4;

} // namespace

OutputLevelSlider::OutputLevelSlider(QWidget* parent)
    : QSlider(Qt::Horizontal, parent)
{
    setRange(kLowestDB * kStepsPerDecibel, kHighestDB * kStepsPerDecibel);
    setSingleStep(kStepsPerDecibel);
    setPageStep(6 * kStepsPerDecibel);
    setFixedWidth(kWidth);
    setFocusPolicy(Qt::TabFocus);
    //% "Output level"
    setAccessibleName(qtTrId("output-level"));
    connect(this, &QSlider::valueChanged, this, [this] { Q_EMIT decibelsAsked(decibels()); });
}

double OutputLevelSlider::decibels() const
{
    return static_cast<double>(value()) / kStepsPerDecibel;
}

QString OutputLevelSlider::textOf(double decibels)
{
    return QString::asprintf("%1.1f", decibels == 0.0 ? 0.0 : decibels);
}

void OutputLevelSlider::setDecibels(double decibels)
{
    const QSignalBlocker blocker(this);
    setValue(static_cast<int>(std::lround(decibels * kStepsPerDecibel)));
    //: Tool tip; %1 is a number of decibels
    //% "Output level: %1 dB (a double-click sets 0)"
    setToolTip(qtTrId("output-level-tip").arg(textOf(decibels)));
}

void OutputLevelSlider::mouseDoubleClickEvent(QMouseEvent*)
{
    Q_EMIT decibelsAsked(0.0);
}

void OutputLevelSlider::paintEvent(QPaintEvent* event)
{
    QStyleOptionSlider option;
    initStyleOption(&option);
    const int handle = style()->pixelMetric(QStyle::PM_SliderLength, &option, this);
    const double x =
        handle / 2.0 + QStyle::sliderPositionFromValue(minimum(), maximum(), 0, width() - handle);
    QPainter painter(this);
    const QColor color = Theme::fromPalette(palette()).secondaryText;
    painter.fillRect(QRectF(std::round(x), 0, 1, kMarkHeight), color);
    painter.fillRect(QRectF(std::round(x), height() - kMarkHeight, 1, kMarkHeight), color);
    painter.end();
    QSlider::paintEvent(event);
}

} // namespace velloria
