#include "app/transport/LoudnessView.h"

#include "app/look/Theme.h"
#include "app/transport/StereoMeter.h"

#include <QAccessible>
#include <QCoreApplication>
#include <QLocale>
#include <QPainter>
#include <QStyleOptionFocusRect>
#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

constexpr int kNumberPixels = 13;
constexpr int kCaptionPixels = 9;
constexpr int kColumnGap = 10;
constexpr int kBarHeight = 5;
constexpr double kRadius = 2;
constexpr double kMarkWidth = 2;
/// What broadcasts in Europe aim at (EBU R 128); a line on the bar.
constexpr double kTargetLUFS = -23.0;

QFont fontOfPixels(const QFont& base, int pixels)
{
    QFont font = base;
    font.setPixelSize(pixels);
    return font;
}

} // namespace

LoudnessView::LoudnessView(QWidget* parent)
    : QAbstractButton(parent)
{
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFixedHeight(StereoMeter::kHeight);
    //% "Loudness of what plays"
    setAccessibleName(qtTrId("loudness-name"));
    //% "Loudness of what plays: of 0.4 s, of 3 s, and since playing began. Click to begin anew."
    setToolTip(qtTrId("loudness-tip"));
    setReading({});
}

QFont LoudnessView::numberFont() const
{
    return fontOfPixels(font(), kNumberPixels);
}

QFont LoudnessView::captionFont() const
{
    return fontOfPixels(font(), kCaptionPixels);
}

QString LoudnessView::textOf(double loudness)
{
    return loudness > kSilenceLUFS ? QLocale().toString(loudness, 'f', 1) : QStringLiteral("–");
}

void LoudnessView::setReading(const LoudnessReading& reading)
{
    mReading = reading;
    //: %1, %2 and %3 are numbers, or dashes
    //% "Momentary %1, short-term %2, integrated %3 LUFS"
    setAccessibleDescription(
        qtTrId("loudness-values")
            .arg(textOf(reading.momentary), textOf(reading.shortTerm), textOf(reading.integrated)));
    update();
}

double LoudnessView::xPositionForValue(double loudness) const
{
    return std::clamp((loudness - kLowestLUFS) / (kHighestLUFS - kLowestLUFS), 0.0, 1.0) * width();
}

QSize LoudnessView::sizeHint() const
{
    const int column = QFontMetrics(numberFont()).horizontalAdvance(QStringLiteral("-00.0"));
    //% "LUFS"
    const int unit = QFontMetrics(captionFont()).horizontalAdvance(qtTrId("loudness-unit"));
    return {3 * (column + kColumnGap) + unit, StereoMeter::kHeight};
}

void LoudnessView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    paintColumns(painter);
    paintBar(painter);
    if (hasFocus()) {
        QStyleOptionFocusRect option;
        option.initFrom(this);
        style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
    }
}

void LoudnessView::paintColumns(QPainter& painter) const
{
    const Theme theme = Theme::fromPalette(palette());
    const QFontMetrics numbers(numberFont());
    const QFontMetrics captions(captionFont());
    const int column = numbers.horizontalAdvance(QStringLiteral("-00.0"));
    const int captionLine = captions.ascent();
    const int numberLine = captionLine + numbers.ascent() + 1;
    //: The momentary loudness; a letter
    //% "M"
    const std::array<std::pair<QString, double>, 3> values = {
        {{qtTrId("loudness-momentary"), mReading.momentary},
         //: The short-term loudness; a letter
         //% "S"
         {qtTrId("loudness-short"), mReading.shortTerm},
         //: The integrated loudness; a letter
         //% "I"
         {qtTrId("loudness-integrated"), mReading.integrated}}};
    int right = column;
    for (const auto& [caption, value] : values) {
        painter.setFont(captionFont());
        painter.setPen(theme.secondaryText);
        painter.drawText(right - captions.horizontalAdvance(caption), captionLine, caption);
        painter.setFont(numberFont());
        painter.setPen(theme.text);
        const QString text = textOf(value);
        painter.drawText(right - numbers.horizontalAdvance(text), numberLine, text);
        right += column + kColumnGap;
    }
    painter.setFont(captionFont());
    painter.setPen(theme.secondaryText);
    painter.drawText(right - column, numberLine, qtTrId("loudness-unit"));
}

void LoudnessView::paintBar(QPainter& painter) const
{
    const Theme theme = Theme::fromPalette(palette());
    const QRectF bar(0, height() - kBarHeight, width(), kBarHeight);
    QColor track = theme.text;
    track.setAlpha(theme.isDark ? 34 : 26);
    painter.setPen(Qt::NoPen);
    painter.setBrush(track);
    painter.drawRoundedRect(bar, kRadius, kRadius);
    const double end = xPositionForValue(mReading.momentary);
    if (end > 0.5) {
        painter.setBrush(theme.waveform);
        painter.setClipRect(QRectF(0, 0, end, height()));
        painter.drawRoundedRect(bar, kRadius, kRadius);
        painter.setClipping(false);
    }
    painter.fillRect(QRectF(xPositionForValue(kTargetLUFS), bar.top(), 1, kBarHeight), theme.secondaryText);
    if (mReading.shortTerm > kLowestLUFS) {
        const double x = std::clamp(xPositionForValue(mReading.shortTerm), kMarkWidth, bar.width());
        painter.fillRect(QRectF(x - kMarkWidth, bar.top(), kMarkWidth, kBarHeight), theme.text);
    }
}

} // namespace velloria
