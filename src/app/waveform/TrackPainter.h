#pragma once

#include <QColor>
#include <QImage>
#include <cstdint>
#include <span>

namespace velloria
{

/// Draws the sound of one track into a transparent image, in device pixels. Any thread.
namespace TrackPainter
{
/// A sound is drawn in one colour near silence, which turns into the other towards full scale.
struct Colors {
    QColor silence;
    QColor fullScale;
    bool operator==(const Colors&) const = default;
};

/// The lane in the image: y of silence, pixels from there to full scale, and the rows that may be drawn on.
struct Lane {
    double middle = 0;
    double fullScale = 1;
    int top = 0;
    int bottom = 0;
};

/// Where a lane's line of silence lies: in the middle of a row, so that it is sharp.
Lane laneBetween(double top, double bottom, double fullScale);

/// One pixel column from `x` on for each (min, max) pair behind the first. The first pair is the column
/// before: neighbours are joined, so that the outline has no gaps. Edges are smoothed.
void drawColumns(QImage& image, const Lane& lane, int x, std::span<const float> pairs, const Colors& colors);

/// A line through samples given as (min, max) pairs; the sample i is at x0 + i * dx.
void drawLine(QImage& image, const Lane& lane, double x0, double dx, std::span<const float> pairs,
              const QColor& color, double penWidth);
} // namespace TrackPainter

} // namespace velloria
