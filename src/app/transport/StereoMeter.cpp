#include "app/transport/StereoMeter.h"

#include "app/look/Theme.h"
#include "app/transport/VLLevelMeterView.h"

#include <QPainter>
#include <QVBoxLayout>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kGap = 3;
constexpr int kScaleHeight = StereoMeter::kHeight - 2 * VLLevelMeterView::kHeight - kGap;
constexpr int kTickHeight = 3;
constexpr int kWidth = 190;
constexpr double kScaleFontPixels = 9;

} // namespace

StereoMeter::StereoMeter(const QString& leftName, const QString& rightName, QWidget* parent)
    : QWidget(parent)
    , mLeft(new VLLevelMeterView(leftName, this))
    , mRight(new VLLevelMeterView(rightName, this))
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 0, 0, kScaleHeight);
    layout->setSpacing(kGap);
    layout->addWidget(mLeft);
    layout->addWidget(mRight);
    setFixedSize(kWidth, kHeight);
    for (VLLevelMeterView* const meter : {mLeft, mRight})
        connect(meter, &VLLevelMeterView::clipIndicatorClicked, this, &StereoMeter::resetClipIndicators);
}

void StereoMeter::setLevels(double leftDB, double rightDB)
{
    mLeft->setLevelValue(leftDB);
    mRight->setLevelValue(rightDB);
}

void StereoMeter::resetClipIndicators()
{
    mLeft->setClipIndicatorHidden(true);
    mRight->setClipIndicatorHidden(true);
}

void StereoMeter::paintEvent(QPaintEvent*)
{
    const Theme theme = Theme::fromPalette(palette());
    QPainter painter(this);
    QFont small = font();
    small.setPixelSize(static_cast<int>(kScaleFontPixels));
    painter.setFont(small);
    const QFontMetricsF metrics(small);
    const double top = height() - kScaleHeight + 1;
    for (const int level : {-60, -48, -36, -24, -12, -6, 0}) {
        const double x = mLeft->x() + std::round(mLeft->xPositionForValue(level));
        painter.fillRect(QRectF(x - (level == 0 ? 1 : 0), top, 1, kTickHeight), theme.separator);
        const QString text = level == 0 ? QStringLiteral("0") : QString::number(-level);
        painter.setPen(theme.secondaryText);
        painter.drawText(QPointF(x - metrics.horizontalAdvance(text) / 2, height() - 1), text);
    }
}

} // namespace velloria
