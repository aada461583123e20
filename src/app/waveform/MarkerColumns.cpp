#include "app/waveform/MarkerColumns.h"

#include "display/WaveformViewGeometry.h"

#include <QImage>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

// The toolkit hands each high rectangle that shines through to several threads, which takes some 25 µs. Where
// there are more than so many, all are drawn as one picture that is a pixel high and stretched.
constexpr size_t kMostSingleLines = 40;

} // namespace

std::vector<PlacedMarker> markersByPixel(const std::vector<AudioMarkerPtr>& markers,
                                         const WaveformViewGeometry& geometry, double left, double right)
{
    const auto pixelOf = [&geometry](const AudioMarkerPtr& marker) {
        return std::round(geometry.xAtTime(marker->secondsWithSampleRate(geometry.sampleRate())));
    };
    std::vector<PlacedMarker> placed;
    auto next = std::partition_point(markers.begin(), markers.end(),
                                     [&](const AudioMarkerPtr& marker) { return pixelOf(marker) < left; });
    if (next != markers.begin())
        placed.push_back({*std::prev(next), pixelOf(*std::prev(next))});
    while (next != markers.end() && pixelOf(*next) <= right) {
        const double x = pixelOf(*next);
        next = std::partition_point(next, markers.end(),
                                    [&](const AudioMarkerPtr& marker) { return pixelOf(marker) <= x; });
        placed.push_back({*std::prev(next), x});
    }
    return placed;
}

void paintMarkerLines(QPainter& painter, const std::vector<PlacedMarker>& placed, const QRect& area,
                      const QColor& color)
{
    if (placed.size() <= kMostSingleLines) {
        for (const PlacedMarker& each : placed)
            painter.fillRect(QRectF(each.x, area.top(), 1, area.height()), color);
        return;
    }
    QImage row(area.width(), 1, QImage::Format_ARGB32_Premultiplied);
    row.fill(Qt::transparent);
    auto* const pixels = reinterpret_cast<QRgb*>(row.bits());
    for (const PlacedMarker& each : placed) {
        const auto column = static_cast<int>(each.x) - area.left();
        if (column >= 0 && column < area.width())
            pixels[column] = qPremultiply(color.rgba());
    }
    painter.drawImage(area, row);
}

} // namespace velloria
