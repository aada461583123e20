#include "app/transport/VLLevelMeterView.h"

#include "app/look/Theme.h"

#include <QCoreApplication>
#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <chrono>
#include <utility>

namespace velloria
{

namespace
{

constexpr double kAttackSeconds = 1.0 / 48.0;
constexpr double kReleaseSeconds = 1.0 / 12.0;
constexpr double kPeakHoldSeconds = 2.0;
constexpr int kFrameMilliseconds = 16;
constexpr double kClipWidth = 8;
constexpr double kRadius = 2;

double steadySeconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

} // namespace

VLLevelMeterView::VLLevelMeterView(const QString& name, QWidget* parent)
    : QWidget(parent)
    , mClock(steadySeconds)
{
    setAccessibleName(name);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    //% "Click to put out the light that says that the level reached 0 dB"
    setToolTip(qtTrId("meter-tip"));
}

void VLLevelMeterView::setLevelValue(double decibels)
{
    // Not a number is silence.
    double value = decibels > kFloorDB ? decibels : kFloorDB;
    if (value >= 0.0) {
        setClipIndicatorHidden(false);
        value = 0.0;
    }
    if (value == _levelValue)
        return;
    mFrom = shownValue();
    mSetTime = mClock();
    mMoveSeconds = value > _levelValue ? kAttackSeconds : kReleaseSeconds;
    _levelValue = value;
    if (value > _peakValue && value > kFloorDB) {
        _peakValue = value;
        mPeakTime = mSetTime;
    }
    run();
}

void VLLevelMeterView::run()
{
    // The timer may be waiting for the end of the peak.
    if (!std::exchange(mIsMoving, true))
        mTimer.start(kFrameMilliseconds, Qt::PreciseTimer, this);
    update();
}

void VLLevelMeterView::resetPeak()
{
    _peakValue = kNoPeakDB;
    update();
}

void VLLevelMeterView::setClipIndicatorHidden(bool isHidden)
{
    if (isHidden == _isClipIndicatorHidden)
        return;
    _isClipIndicatorHidden = isHidden;
    update();
}

double VLLevelMeterView::xPositionForValue(double decibels) const
{
    const double barWidth = std::max(0, width() - kClipRoom);
    return std::clamp((decibels - kFloorDB) / -kFloorDB, 0.0, 1.0) * barWidth;
}

double VLLevelMeterView::shownValue() const
{
    const double elapsed = mClock() - mSetTime;
    if (mMoveSeconds <= 0.0 || elapsed >= mMoveSeconds)
        return _levelValue;
    return mFrom + (_levelValue - mFrom) * std::max(0.0, elapsed) / mMoveSeconds;
}

bool VLLevelMeterView::advance()
{
    const double now = mClock();
    const bool isMoving = now - mSetTime < mMoveSeconds;
    if (_peakValue > kNoPeakDB && now - mPeakTime >= kPeakHoldSeconds)
        resetPeak();
    update();
    return isMoving;
}

void VLLevelMeterView::timerEvent(QTimerEvent*)
{
    if (advance())
        return;
    mIsMoving = false;
    mTimer.stop();
    // Only the mark is left to be taken away.
    const double rest = kPeakHoldSeconds - (mClock() - mPeakTime);
    if (_peakValue > kNoPeakDB)
        mTimer.start(static_cast<int>(rest * 1000.0) + 1, this);
}

void VLLevelMeterView::mousePressEvent(QMouseEvent*)
{
    setClipIndicatorHidden(true);
    Q_EMIT clipIndicatorClicked();
}

void VLLevelMeterView::paintEvent(QPaintEvent*)
{
    const Theme theme = Theme::fromPalette(palette());
    const QColor good = theme.isDark ? QColor(0xff3fb46b) : QColor(0xff2fa05a);
    const QColor high = theme.isDark ? QColor(0xffe6b93f) : QColor(0xffe0a92a);
    const QColor hot = theme.isDark ? QColor(0xffee5b4f) : QColor(0xffdb4437);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const QRectF bar(0, 0, std::max(0, width() - kClipRoom), height());
    QColor track = theme.text;
    track.setAlpha(theme.isDark ? 34 : 26);
    painter.setBrush(track);
    painter.drawRoundedRect(bar, kRadius, kRadius);
    QLinearGradient gradient(bar.topLeft(), bar.topRight());
    gradient.setColorAt(0.0, good.darker(115));
    gradient.setColorAt(0.66, good);
    gradient.setColorAt(0.86, high);
    gradient.setColorAt(1.0, hot);
    const double end = xPositionForValue(shownValue());
    if (end > 0.5) {
        painter.setBrush(gradient);
        painter.setClipRect(QRectF(0, 0, end, height()));
        painter.drawRoundedRect(bar, kRadius, kRadius);
        painter.setClipping(false);
    }
    if (_peakValue > kNoPeakDB) {
        painter.setBrush(gradient);
        const double x = std::clamp(xPositionForValue(_peakValue), 2.0, bar.width());
        painter.drawRect(QRectF(x - 2.0, 0, 2.0, height()));
    }
    painter.setBrush(_isClipIndicatorHidden ? track : hot);
    painter.drawRoundedRect(QRectF(width() - kClipWidth, 0, kClipWidth, height()), kRadius, kRadius);
}

} // namespace velloria
