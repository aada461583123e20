#include "app/recording/RecordingHistoryView.h"

#include "app/look/Theme.h"

#include <QCoreApplication>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kSecondsPerBar = 0.05;
constexpr int kBarWidth = 3;
constexpr int kBarStep = 4;
constexpr int kScaleWidth = 30;
constexpr size_t kMaxBars = 2000;
const QColor kKeptColor(0xe0, 0x44, 0x3e);

} // namespace

RecordingHistoryView::RecordingHistoryView(QWidget* parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    //% "Levels of the last seconds"
    setAccessibleName(qtTrId("recording-history"));
}

void RecordingHistoryView::setGuides(double startLevel, double stopLevel)
{
    mStartLevel = startLevel;
    mStopLevel = stopLevel;
    update();
}

void RecordingHistoryView::addBlock(double levelDB, double seconds, bool isWritten)
{
    mGathering.levelDB = std::max(mGathering.levelDB, levelDB);
    mGathering.isWritten |= isWritten;
    mGatheredSeconds += seconds;
    if (mGatheredSeconds < kSecondsPerBar)
        return;
    mBars.push_back(mGathering);
    if (mBars.size() > kMaxBars)
        mBars.pop_front();
    mGathering = {};
    mGatheredSeconds = 0.0;
    update();
}

QRectF RecordingHistoryView::plot() const
{
    return QRectF(rect()).adjusted(kScaleWidth, 7.5, -0.5, -7.5);
}

double RecordingHistoryView::yOf(double levelDB) const
{
    const double share = std::clamp(levelDB / kFloorDB, 0.0, 1.0);
    return plot().top() + share * plot().height();
}

void RecordingHistoryView::paintScale(QPainter& painter) const
{
    const Theme theme = Theme::fromPalette(palette());
    QFont small = font();
    small.setPointSizeF(small.pointSizeF() * 0.82);
    painter.setFont(small);
    for (int level = 0; level >= static_cast<int>(kFloorDB); level -= 12) {
        const double y = std::round(yOf(level));
        painter.fillRect(QRectF(plot().left(), y, plot().width(), 1), theme.grid);
        painter.setPen(theme.secondaryText);
        painter.drawText(QRectF(0, y - 8, kScaleWidth - 6, 16), Qt::AlignRight | Qt::AlignVCenter,
                         QString::number(level));
    }
}

void RecordingHistoryView::paintGuide(QPainter& painter, double levelDB, const QColor& color) const
{
    painter.setPen(QPen(color, 1.5, Qt::DashLine));
    const double y = std::round(yOf(levelDB)) + 0.5;
    painter.drawLine(QPointF(plot().left(), y), QPointF(plot().right(), y));
}

void RecordingHistoryView::paintEvent(QPaintEvent*)
{
    const Theme theme = Theme::fromPalette(palette());
    QPainter painter(this);
    painter.setPen(theme.separator);
    painter.setBrush(theme.lane);
    painter.drawRoundedRect(plot().adjusted(-0.5, -0.5, 0, 0.5), 3, 3);
    paintScale(painter);
    double x = plot().right() - kBarStep;
    for (auto bar = mBars.rbegin(); bar != mBars.rend() && x >= plot().left(); ++bar, x -= kBarStep) {
        const double top = yOf(bar->levelDB);
        painter.fillRect(QRectF(std::round(x), top, kBarWidth, plot().bottom() - top),
                         bar->isWritten ? kKeptColor : theme.waveform);
    }
    paintGuide(painter, mStopLevel, theme.secondaryText);
    paintGuide(painter, mStartLevel, kKeptColor);
}

} // namespace velloria
