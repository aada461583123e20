#include "app/waveform/SpectrogramRaster.h"

#include <QColor>
#include <QPainter>
#include <algorithm>
#include <array>
#include <cmath>
#include <set>

namespace velloria
{

namespace
{

constexpr size_t kMostImages = 192;
constexpr double kNumColumns = static_cast<double>(SpectrogramTiles::numColumns);

struct ColorStop {
    double level; ///< from 0 to 1
    int red, green, blue;
};

// From the lane's own background through blue and violet to warm light: brightness grows all the way, so that
// the picture is right in shades of grey, too.
constexpr std::array<ColorStop, 6> kDarkStops = {{{0.0, 24, 26, 31},
                                                  {0.3, 32, 40, 92},
                                                  {0.52, 105, 40, 140},
                                                  {0.7, 200, 62, 100},
                                                  {0.86, 246, 150, 60},
                                                  {1.0, 255, 246, 200}}};
constexpr std::array<ColorStop, 6> kLightStops = {{{0.0, 255, 255, 255},
                                                   {0.3, 214, 228, 244},
                                                   {0.52, 130, 170, 222},
                                                   {0.7, 92, 84, 178},
                                                   {0.86, 122, 28, 110},
                                                   {1.0, 58, 0, 34}}};

std::vector<QRgb> makeColors(bool isDark)
{
    const auto& stops = isDark ? kDarkStops : kLightStops;
    std::vector<QRgb> colors;
    for (int i = 0; i < 256; ++i) {
        const double level = i / 255.0;
        size_t next = 1;
        while (next + 1 < stops.size() && stops[next].level < level)
            ++next;
        const ColorStop& a = stops[next - 1];
        const ColorStop& b = stops[next];
        const double share = std::clamp((level - a.level) / (b.level - a.level), 0.0, 1.0);
        const auto mix = [share](int x, int y) { return static_cast<int>(std::lround(x + (y - x) * share)); };
        colors.push_back(qRgb(mix(a.red, b.red), mix(a.green, b.green), mix(a.blue, b.blue)));
    }
    return colors;
}

/// Where a tile lies in the view, in device pixels from its left edge.
QRectF placeOf(const SpectrogramTiles::Key& key, const SpectrogramRaster::View& view)
{
    const double scale = key.framesPerColumn / view.framesPerColumn;
    const double left =
        static_cast<double>(key.index) * kNumColumns * scale - static_cast<double>(view.firstColumn);
    return {left, view.layout.laneTop(key.track), kNumColumns * scale, view.layout.laneHeight()};
}

} // namespace

SpectrogramRaster::SpectrogramRaster(WaveformSubject& subject, QObject* parent)
    : QObject(parent)
    , mSubject(subject)
    , mTiles([this] { Q_EMIT changed(); })
{
}

const QImage& SpectrogramRaster::imageOf(const SpectrogramTiles::TilePtr& tile, int height)
{
    Drawn& drawn = mImages[tile->key];
    drawn.lastUse = mNumPaints;
    if (drawn.tile == tile && !drawn.image.isNull())
        return drawn.image;
    drawn.tile = tile;
    constexpr int columns = static_cast<int>(SpectrogramTiles::numColumns);
    constexpr int rows = static_cast<int>(SpectrogramColumns::numRows);
    QImage image(columns, rows, QImage::Format_RGB32);
    for (int row = 0; row < rows; ++row) {
        auto* const line = reinterpret_cast<QRgb*>(image.scanLine(rows - 1 - row));
        for (int column = 0; column < columns; ++column)
            line[column] = mColors[tile->levels[static_cast<size_t>(column) * SpectrogramColumns::numRows +
                                                static_cast<size_t>(row)]];
    }
    drawn.image = image.scaled(columns, height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                      .convertToFormat(QImage::Format_RGB32);
    return drawn.image;
}

void SpectrogramRaster::paint(QPainter& painter, const View& view)
{
    ++mNumPaints;
    mTiles.setSound(mSubject.tracks(), view.axis);
    const int height = std::max(1, static_cast<int>(std::lround(view.layout.laneHeight())));
    if (mColors.empty() || view.isDark != mIsDark || height != mImageHeight) {
        mColors = makeColors(view.isDark);
        mIsDark = view.isDark;
        mImageHeight = height;
        mImages.clear();
    }
    const auto endColumn =
        static_cast<int64_t>(std::ceil(static_cast<double>(mSubject.numFrames()) / view.framesPerColumn));
    const int64_t first = std::max<int64_t>(view.firstColumn, 0);
    const int64_t last = std::min(view.firstColumn + view.numColumns, endColumn);
    if (first >= last)
        return;
    painter.save();
    painter.scale(1.0 / view.devicePixelRatio, 1.0 / view.devicePixelRatio);
    painter.setClipRect(QRectF(static_cast<double>(first - view.firstColumn), 0,
                               static_cast<double>(last - first), view.layout.height),
                        Qt::IntersectClip);
    std::vector<SpectrogramTiles::Key> wanted;
    for (int64_t index = first / SpectrogramTiles::numColumns; index * SpectrogramTiles::numColumns < last;
         ++index) {
        for (int32_t track = 0; track < view.layout.numTracks; ++track) {
            const SpectrogramTiles::Key key{track, view.framesPerColumn, index};
            wanted.push_back(key);
            const SpectrogramTiles::TilePtr tile = mTiles.tile(key);
            const QRectF place = placeOf(key, view);
            if (tile && !tile->levels.empty())
                painter.drawImage(
                    QPoint(static_cast<int>(place.left()), static_cast<int>(std::lround(place.top()))),
                    imageOf(tile, height));
            else
                paintStandIns(painter, view, track, place);
        }
    }
    painter.restore();
    mTiles.want(std::move(wanted));
    forgetOldImages();
}

void SpectrogramRaster::paintStandIns(QPainter& painter, const View& view, int32_t track,
                                      const QRectF& area) const
{
    painter.save();
    painter.setClipRect(area, Qt::IntersectClip);
    for (const auto& [key, drawn] : mImages) {
        if (key.track != track || key.framesPerColumn == view.framesPerColumn)
            continue;
        const QRectF place = placeOf(key, view);
        if (place.intersects(area) && place.width() >= 1.0)
            painter.drawImage(place, drawn.image);
    }
    painter.restore();
}

void SpectrogramRaster::forgetOldImages()
{
    while (mImages.size() > kMostImages) {
        const auto oldest =
            std::min_element(mImages.begin(), mImages.end(), [](const auto& a, const auto& b) {
                return a.second.lastUse < b.second.lastUse;
            });
        if (oldest->second.lastUse == mNumPaints)
            return;
        mImages.erase(oldest);
    }
}

} // namespace velloria
