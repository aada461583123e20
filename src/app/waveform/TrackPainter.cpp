#include "app/waveform/TrackPainter.h"

#include <QPainter>
#include <QPolygonF>
#include <algorithm>
#include <cmath>
#include <vector>

namespace velloria
{

namespace
{

struct Extent {
    double low;
    double high;
    bool isEmpty() const { return low > high; }
};

Extent extentAt(std::span<const float> pairs, size_t column)
{
    return {pairs[2 * column], pairs[2 * column + 1]};
}

/// A column reaches at least to the middle of the gap to its neighbour.
Extent joined(Extent extent, const Extent& before)
{
    if (extent.isEmpty() || before.isEmpty())
        return extent;
    extent.low = std::min(extent.low, before.high);
    extent.high = std::max(extent.high, before.low);
    return extent;
}

QRgb mixed(const QColor& a, const QColor& b, double share)
{
    const auto mix = [share](int x, int y) { return static_cast<int>(std::lround(x + (y - x) * share)); };
    return qRgb(mix(a.red(), b.red()), mix(a.green(), b.green()), mix(a.blue(), b.blue()));
}

/// The colour of every row of a lane, opaque.
std::vector<QRgb> rowColors(const TrackPainter::Lane& lane, const TrackPainter::Colors& colors)
{
    std::vector<QRgb> rows;
    for (int row = lane.top; row < lane.bottom; ++row) {
        const double level = std::abs(row + 0.5 - lane.middle) / lane.fullScale;
        rows.push_back(mixed(colors.silence, colors.fullScale, std::min(1.0, level)));
    }
    return rows;
}

QRgb withCoverage(QRgb color, double share)
{
    const int alpha = static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * 255));
    return qPremultiply(qRgba(qRed(color), qGreen(color), qBlue(color), alpha));
}

class ColumnWriter
{
public:
    ColumnWriter(QImage& image, const TrackPainter::Lane& lane, const TrackPainter::Colors& colors)
        : mBits(reinterpret_cast<QRgb*>(image.bits()))
        , mStride(image.bytesPerLine() / static_cast<qsizetype>(sizeof(QRgb)))
        , mLane(lane)
        , mRowColors(rowColors(lane, colors))
    {
    }

    void draw(int x, const Extent& extent)
    {
        double top = mLane.middle - extent.high * mLane.fullScale;
        double bottom = mLane.middle - extent.low * mLane.fullScale;
        if (bottom - top < 1) {
            const double middle = (top + bottom) / 2;
            top = middle - 0.5;
            bottom = middle + 0.5;
        }
        top = std::clamp(top, static_cast<double>(mLane.top), static_cast<double>(mLane.bottom));
        bottom = std::clamp(bottom, static_cast<double>(mLane.top), static_cast<double>(mLane.bottom));
        const int firstRow = static_cast<int>(std::floor(top));
        const int lastRow = static_cast<int>(std::floor(bottom));
        if (firstRow == lastRow) {
            put(x, firstRow, bottom - top);
            return;
        }
        put(x, firstRow, firstRow + 1 - top);
        QRgb* pixel = mBits + (firstRow + 1) * mStride + x;
        const QRgb* color = mRowColors.data() + (firstRow + 1 - mLane.top);
        for (int row = firstRow + 1; row < lastRow; ++row, pixel += mStride)
            *pixel = *color++;
        put(x, lastRow, bottom - lastRow);
    }

private:
    void put(int x, int row, double share)
    {
        if (row >= mLane.top && row < mLane.bottom)
            mBits[row * mStride + x] = withCoverage(mRowColors[static_cast<size_t>(row - mLane.top)], share);
    }

    QRgb* mBits;
    qsizetype mStride;
    const TrackPainter::Lane& mLane;
    std::vector<QRgb> mRowColors;
};

} // namespace

TrackPainter::Lane TrackPainter::laneBetween(double top, double bottom, double fullScale)
{
    Lane lane;
    lane.top = static_cast<int>(std::lround(top));
    lane.bottom = static_cast<int>(std::lround(bottom));
    lane.middle = std::floor((top + bottom) / 2) + 0.5;
    lane.fullScale = fullScale;
    return lane;
}

void TrackPainter::drawColumns(QImage& image, const Lane& lane, int x, std::span<const float> pairs,
                               const Colors& colors)
{
    ColumnWriter writer(image, lane, colors);
    const size_t numPairs = pairs.size() / 2;
    for (size_t i = 1; i < numPairs; ++i) {
        const Extent extent = joined(extentAt(pairs, i), extentAt(pairs, i - 1));
        if (!extent.isEmpty())
            writer.draw(x + static_cast<int>(i) - 1, extent);
    }
}

void TrackPainter::drawLine(QImage& image, const Lane& lane, double x0, double dx,
                            std::span<const float> pairs, const QColor& color, double penWidth)
{
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipRect(0, lane.top, image.width(), lane.bottom - lane.top);
    painter.setPen(QPen(color, penWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    QPolygonF line;
    const auto flush = [&] {
        if (line.size() == 1)
            painter.drawPoint(line.first());
        else if (line.size() > 1)
            painter.drawPolyline(line);
        line.clear();
    };
    for (size_t i = 0; i < pairs.size() / 2; ++i) {
        const Extent extent = extentAt(pairs, i);
        if (extent.isEmpty()) {
            flush();
            continue;
        }
        const double level = (extent.low + extent.high) / 2;
        line << QPointF(x0 + static_cast<double>(i) * dx, lane.middle - level * lane.fullScale);
    }
    flush();
}

} // namespace velloria
