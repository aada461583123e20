#include "app/waveform/LevelScale.h"

#include "app/look/TrackNames.h"
#include "app/waveform/WaveformContext.h"

#include <QContextMenuEvent>
#include <QLocale>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kWidth = 46;
constexpr double kTick = 5;
constexpr double kNameLeft = 6;

} // namespace

LevelScale::LevelScale(WaveformContext& context, QWidget* parent)
    : QWidget(parent)
    , mContext(context)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
    //% "Level scale"
    setAccessibleName(qtTrId("level-scale-name"));
    //% "Right-click for the unit"
    setToolTip(qtTrId("level-scale-tip"));
    const auto repaint = [this] { update(); };
    connect(&mContext, &WaveformContext::settingsChanged, this, repaint);
    connect(&mContext, &WaveformContext::themeChanged, this, repaint);
    connect(&mContext, &WaveformContext::documentReloaded, this, repaint);
}

QSize LevelScale::sizeHint() const
{
    return {std::max(kWidth, fontMetrics().horizontalAdvance(QStringLiteral("-000")) + 22), 100};
}

std::vector<LevelScale::Mark> LevelScale::marks(bool inDecibels, double fullScale, double spacing)
{
    const std::vector<double> levels =
        inDecibels ? std::vector<double>{0, -6, -12, -3, -18, -24, -9, -2, -1}
                   : std::vector<double>{1, 0.5, 0.25, 0.75, 0.125, 0.375, 0.625, 0.875};
    std::vector<Mark> marks = {{0.0, inDecibels ? QStringLiteral("-\u221e") : QStringLiteral("0")}};
    // The rounder ones come first; the others fill what room is left.
    for (const double value : levels) {
        const double level = inDecibels ? std::pow(10.0, value / 20) : value;
        bool hasRoom = true;
        for (const Mark& mark : marks)
            hasRoom = hasRoom && std::abs(mark.level - level) * fullScale >= spacing;
        if (hasRoom)
            marks.push_back({level, QLocale().toString(value, 'g', 4)});
    }
    return marks;
}

void LevelScale::paintEvent(QPaintEvent*)
{
    const Theme& theme = mContext.theme();
    QPainter painter(this);
    painter.fillRect(rect(), theme.chrome);
    painter.fillRect(QRect(width() - 1, 0, 1, height()), theme.separator);
    LaneLayout layout;
    layout.height = height();
    layout.numTracks = mContext.subject().numTracks();
    for (int32_t track = 0; track < layout.numTracks; ++track) {
        if (track > 0)
            painter.fillRect(QRectF(0, layout.laneTop(track) - layout.gap, width(), layout.gap),
                             theme.separator);
        paintLane(painter, layout, track);
    }
}

std::vector<LevelScale::Label> LevelScale::levelLabels(const LaneLayout& layout, int32_t track,
                                                       double textHeight) const
{
    std::vector<Label> labels;
    for (const Mark& mark : marks(mContext.showsDecibels(), layout.fullScale(), textHeight + 2)) {
        labels.push_back({layout.yOfLevel(track, mark.level), mark.label});
        if (mark.level > 0)
            labels.push_back({layout.yOfLevel(track, -mark.level), mark.label});
    }
    return labels;
}

std::vector<LevelScale::Label> LevelScale::frequencyLabels(const LaneLayout& layout, int32_t track,
                                                           double textHeight) const
{
    const FrequencyAxis axis = mContext.frequencyAxis();
    std::vector<Label> labels;
    // The rounder ones come first; the others fill what room is left.
    for (const double frequency :
         {1000.0, 10000.0, 100.0, 20000.0, 5000.0, 200.0, 2000.0, 500.0, 50.0, 15000.0, 40000.0, 80000.0,
          3000.0, 7000.0, 300.0, 700.0, 12000.0, 18000.0}) {
        if (frequency < axis.lowest() || frequency > axis.highest())
            continue;
        const double y = layout.laneBottom(track) - axis.shareOf(frequency) * layout.laneHeight();
        const bool hasRoom = std::all_of(labels.begin(), labels.end(), [&](const Label& label) {
            return std::abs(label.y - y) >= textHeight + 2;
        });
        if (hasRoom)
            labels.push_back({y, frequency < 1000.0
                                     ? QLocale().toString(frequency)
                                     : QStringLiteral("%1k").arg(QLocale().toString(frequency / 1000.0))});
    }
    return labels;
}

void LevelScale::paintLane(QPainter& painter, const LaneLayout& layout, int32_t track) const
{
    const Theme& theme = mContext.theme();
    QFont small = font();
    small.setPointSizeF(small.pointSizeF() * 0.8);
    painter.setFont(small);
    const double textHeight = QFontMetricsF(small).height();
    const double top = layout.laneTop(track);
    const double bottom = layout.laneBottom(track);
    const std::vector<Label> labels = mContext.showsSpectrogram() ? frequencyLabels(layout, track, textHeight)
                                                                  : levelLabels(layout, track, textHeight);
    for (const Label& label : labels) {
        painter.fillRect(QRectF(width() - 1 - kTick, std::floor(label.y), kTick, 1), theme.separator);
        // The outermost labels move inwards rather than out of the lane.
        const double textTop = std::clamp(label.y - textHeight / 2, top, std::max(top, bottom - textHeight));
        painter.setPen(theme.secondaryText);
        painter.drawText(QRectF(0, textTop, width() - kTick - 4, textHeight),
                         Qt::AlignRight | Qt::AlignVCenter, label.text);
    }
    small.setBold(true);
    painter.setFont(small);
    painter.setPen(theme.text);
    painter.drawText(QRectF(kNameLeft, top, width(), bottom - top), Qt::AlignLeft | Qt::AlignVCenter,
                     TrackNames::shortName(track, layout.numTracks));
}

void LevelScale::contextMenuEvent(QContextMenuEvent* event)
{
    Q_EMIT scaleMenuRequested(event->globalPos());
}

} // namespace velloria
