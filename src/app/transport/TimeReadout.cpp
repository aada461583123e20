#include "app/transport/TimeReadout.h"

#include "app/waveform/WaveformContext.h"

#include <QEvent>
#include <QPainter>
#include <algorithm>

namespace velloria
{

namespace
{

constexpr double kFontScale = 2.0;
constexpr int kPadding = 10;
constexpr int kHeight = 38;
constexpr double kRadius = 5;

} // namespace

TimeReadout::TimeReadout(WaveformContext& context, QWidget* parent)
    : QWidget(parent)
    , mContext(context)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    //% "Time of the cue"
    setAccessibleName(qtTrId("cue-readout"));
    setToolTip(qtTrId("cue-readout"));
    connect(&mContext, &WaveformContext::settingsChanged, this, &TimeReadout::takeSettings);
    connect(&mContext, &WaveformContext::documentReloaded, this, &TimeReadout::takeSettings);
    connect(&mContext, &WaveformContext::themeChanged, this, qOverload<>(&QWidget::update));
    connect(&mContext, &WaveformContext::cueChanged, this, &TimeReadout::updateTime);
    updateFont();
}

void TimeReadout::updateFont()
{
    mFont = font();
    mFont.setPointSizeF(mFont.pointSizeF() * kFontScale);
    const QFontMetricsF metrics(mFont);
    mDigitWidth = 0;
    for (char digit = '0'; digit <= '9'; ++digit)
        mDigitWidth = std::max(mDigitWidth, metrics.horizontalAdvance(QLatin1Char(digit)));
    takeSettings();
}

void TimeReadout::takeSettings()
{
    mFormatter.setSampleRate(mContext.subject().sampleRate());
    mFormatter.setUnits(mContext.ruler().units());
    const QString longest = mFormatter.stringForObjectValue(std::max(mContext.subject().totalTime(), 599.0));
    if (longest.size() != mLongest.size())
        updateGeometry();
    mLongest = longest;
    updateTime();
}

void TimeReadout::updateTime()
{
    const QString text = mFormatter.stringForObjectValue(mContext.cueTime());
    if (text == mText)
        return;
    mText = text;
    update();
}

double TimeReadout::widthOf(QChar character) const
{
    return character.isDigit() ? mDigitWidth : QFontMetricsF(mFont).horizontalAdvance(character);
}

QSize TimeReadout::sizeHint() const
{
    double width = 0;
    for (const QChar character : mLongest)
        width += widthOf(character);
    return {static_cast<int>(width) + 2 * kPadding, kHeight};
}

void TimeReadout::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::FontChange)
        updateFont();
    QWidget::changeEvent(event);
}

void TimeReadout::paintEvent(QPaintEvent*)
{
    const Theme& theme = mContext.theme();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(theme.separator);
    painter.setBrush(theme.lane);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), kRadius, kRadius);
    painter.setFont(mFont);
    painter.setPen(theme.text);
    const QFontMetricsF metrics(mFont);
    const double baseline = (height() + metrics.capHeight()) / 2;
    double x = width() - kPadding;
    for (auto character = mText.crbegin(); character != mText.crend(); ++character) {
        const double cell = widthOf(*character);
        x -= cell;
        painter.drawText(QPointF(x + (cell - metrics.horizontalAdvance(*character)) / 2, baseline),
                         QString(*character));
    }
}

} // namespace velloria
