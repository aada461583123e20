#include "cli/subcommands/WaveformImage.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

namespace velloria::WaveformImage
{

namespace
{

constexpr QRgb kBackground = qRgb(0x12, 0x17, 0x1f);
constexpr QRgb kLane = qRgb(0x18, 0x1f, 0x2a);
constexpr QRgb kCentreLine = qRgb(0x3b, 0x4a, 0x5e);
// Of the body: near the centre line, and at full scale.
constexpr QRgb kInner = qRgb(0x8f, 0xe3, 0xff);
constexpr QRgb kOuter = qRgb(0x1f, 0x8f, 0xe0);
constexpr QRgb kClipped = qRgb(0xff, 0x6b, 0x57);

constexpr double kGap = 2.0;
// So that a sample at full scale does not touch the lane's edge.
constexpr double kFullScale = 0.96;
constexpr double kDotSpacing = 8.0;

QRgb mixed(QRgb first, QRgb second, double fraction)
{
    const auto channel = [fraction](int a, int b) {
        return static_cast<int>(std::lround(a + (b - a) * std::clamp(fraction, 0.0, 1.0)));
    };
    return qRgb(channel(qRed(first), qRed(second)), channel(qGreen(first), qGreen(second)),
                channel(qBlue(first), qBlue(second)));
}

/// A track's part of the picture; y grows downwards.
class Lane
{
public:
    Lane(QImage& image, double top, double bottom)
        : mImage(image)
        , mTop(static_cast<int>(std::lround(top)))
        , mBottom(std::max(mTop + 1, static_cast<int>(std::lround(bottom))))
        , mCentre((mTop + mBottom) / 2.0)
        , mHalfHeight(std::max(0.5, (mBottom - mTop) / 2.0 * kFullScale))
    {
        for (int y = mTop; y < mBottom; ++y)
            mColours.push_back(colourAt(std::abs(y + 0.5 - mCentre) / mHalfHeight));
    }

    void drawBackground()
    {
        for (int y = mTop; y < mBottom; ++y)
            std::fill_n(line(y), mImage.width(), kLane);
        std::fill_n(line(static_cast<int>(mCentre)), mImage.width(), kCentreLine);
    }

    /// One column of pixels a column of the waveform; what lies only partly in a pixel shows in part.
    void drawBody(const FloatBuffer& pairs)
    {
        for (int x = 0; x < mImage.width(); ++x) {
            const auto [low, high] = joined(pairs, static_cast<size_t>(x));
            if (low > high)
                continue;
            const bool isClipped = low < -0.9999F || high > 0.9999F;
            drawColumn(x, yOf(high), yOf(low), isClipped);
        }
    }

    /// Fewer frames than pixels: a line through the samples, with a dot on each where there is room.
    void drawSamples(const FloatBuffer& pairs)
    {
        const size_t count = pairs.size() / 2;
        const double spacing = static_cast<double>(mImage.width()) / static_cast<double>(count);
        QPainterPath path;
        for (size_t i = 0; i < count; ++i) {
            const QPointF point((static_cast<double>(i) + 0.5) * spacing, yOf(pairs[2 * i]));
            if (i == 0)
                path.moveTo(point);
            else
                path.lineTo(point);
        }
        QPainter painter(&mImage);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setClipRect(0, mTop, mImage.width(), mBottom - mTop);
        painter.setPen(QPen(QColor(kOuter), 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPath(path);
        if (spacing < kDotSpacing)
            return;
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(kInner));
        for (size_t i = 0; i < count; ++i)
            painter.drawEllipse(QPointF((static_cast<double>(i) + 0.5) * spacing, yOf(pairs[2 * i])), 2.4,
                                2.4);
    }

private:
    static QRgb colourAt(double level) { return mixed(kInner, kOuter, std::sqrt(level)); }

    QRgb* line(int y) { return reinterpret_cast<QRgb*>(mImage.scanLine(y)); }

    double yOf(float value) const { return mCentre - std::clamp(double{value}, -1.0, 1.0) * mHalfHeight; }

    /// A column is widened until it meets the one before it, so that steep parts do not fall apart into dots.
    static std::pair<float, float> joined(const FloatBuffer& pairs, size_t column)
    {
        float low = pairs[2 * column];
        float high = pairs[2 * column + 1];
        if (column > 0 && low <= high && pairs[2 * column - 2] <= pairs[2 * column - 1]) {
            low = std::min(low, pairs[2 * column - 1]);
            high = std::max(high, pairs[2 * column - 2]);
        }
        return {low, high};
    }

    void drawColumn(int x, double top, double bottom, bool isClipped)
    {
        // Silence still shows as a line one pixel thick.
        const double missing = std::max(0.0, 1.0 - (bottom - top)) / 2.0;
        top = std::max<double>(mTop, top - missing);
        bottom = std::min<double>(mBottom, bottom + missing);
        for (int y = static_cast<int>(top); y < bottom; ++y) {
            const double coverage = std::min(bottom, y + 1.0) - std::max(top, double(y));
            const QRgb body = isClipped ? mixed(mColours[static_cast<size_t>(y - mTop)], kClipped, 0.75)
                                        : mColours[static_cast<size_t>(y - mTop)];
            QRgb& pixel = line(y)[x];
            pixel = mixed(pixel, body, coverage);
        }
    }

    QImage& mImage;
    int mTop;
    int mBottom;
    double mCentre;
    double mHalfHeight;
    std::vector<QRgb> mColours;
};

} // namespace

QImage draw(const WaveformColumns& columns, int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    if (image.isNull())
        return image;
    image.fill(kBackground);
    const auto numLanes = static_cast<double>(columns.tracks.size());
    const double laneHeight = height / std::max(1.0, numLanes);
    const double gap = laneHeight > 8.0 * kGap ? kGap : 0.0;
    for (size_t i = 0; i < columns.tracks.size(); ++i) {
        const double top = static_cast<double>(i) * laneHeight;
        // More tracks than pixels: those that share a line of pixels show as one.
        Lane lane(image, std::min(top, height - 1.0), std::min(top + laneHeight - gap, double(height)));
        lane.drawBackground();
        if (columns.numColumns() == static_cast<size_t>(width))
            lane.drawBody(columns.tracks[i]);
        else if (columns.numColumns() > 0)
            lane.drawSamples(columns.tracks[i]);
    }
    return image;
}

} // namespace velloria::WaveformImage
