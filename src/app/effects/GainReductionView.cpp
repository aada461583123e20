#include "app/effects/GainReductionView.h"

#include "app/look/Theme.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kBarHeight = 8;
constexpr double kRadius = 2;
constexpr double kTickHeight = 3;
constexpr int kScaleFontPixels = 9;
constexpr int kDecibelsPerTick = 6;
/// Of the number at the right end, half of which stands beyond the bar.
constexpr double kMargin = 6;
/// Back from a value to the next that is shown some 30 ms later.
constexpr double kFallDB = 1.0;

} // namespace

GainReductionView::GainReductionView(QWidget* parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void GainReductionView::setReduction(double decibels)
{
    // Not a number is no reduction.
    const double wanted = decibels > 0.0 ? std::min(decibels, kMostDB) : 0.0;
    const double shown = std::max(wanted, mShownDB - kFallDB);
    if (shown == mShownDB)
        return;
    mShownDB = shown;
    update();
}

void GainReductionView::reset()
{
    mShownDB = 0.0;
    update();
}

void GainReductionView::paintEvent(QPaintEvent*)
{
    const Theme theme = Theme::fromPalette(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF bar(kMargin, 0, std::max(0.0, width() - 2 * kMargin), kBarHeight);
    QColor track = theme.text;
    track.setAlpha(theme.isDark ? 34 : 26);
    painter.setPen(Qt::NoPen);
    painter.setBrush(track);
    painter.drawRoundedRect(bar, kRadius, kRadius);
    const double length = bar.width() * mShownDB / kMostDB;
    if (length > 0.5) {
        painter.setBrush(theme.isDark ? QColor(0xffe6b93f) : QColor(0xffe0a92a));
        painter.setClipRect(QRectF(bar.right() - length, 0, length, kBarHeight));
        painter.drawRoundedRect(bar, kRadius, kRadius);
        painter.setClipping(false);
    }
    QFont small = font();
    small.setPixelSize(kScaleFontPixels);
    painter.setFont(small);
    const QFontMetricsF metrics(small);
    for (int level = 0; level <= static_cast<int>(kMostDB); level += kDecibelsPerTick) {
        const double x = std::round(bar.right() - bar.width() * level / kMostDB);
        painter.fillRect(QRectF(x - (level == 0 ? 1 : 0), kBarHeight + 2, 1, kTickHeight), theme.separator);
        const QString text = QString::number(level);
        painter.setPen(theme.secondaryText);
        painter.drawText(QPointF(x - metrics.horizontalAdvance(text) / 2, height() - 1), text);
    }
}

} // namespace velloria
