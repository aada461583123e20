#include "app/waveform/WaveformRaster.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace velloria
{

namespace
{

TrackPainter::Lane laneOf(const LaneLayout& layout, int32_t track)
{
    return TrackPainter::laneBetween(layout.laneTop(track), layout.laneBottom(track), layout.fullScale());
}

void clearColumns(QImage& image, int begin, int end)
{
    for (int row = 0; row < image.height(); ++row) {
        QRgb* const line = reinterpret_cast<QRgb*>(image.scanLine(row));
        std::fill(line + begin, line + end, 0U);
    }
}

} // namespace

const QImage& WaveformRaster::imageOf(const View& view)
{
    const QSize size(view.numColumns, static_cast<int>(std::ceil(view.layout.height)));
    if (mImage.size() == size && isOnlyScrolled(view)) {
        scrollTo(view.firstColumn);
    } else {
        mView = view;
        if (mImage.size() != size)
            mImage = QImage(size, QImage::Format_ARGB32_Premultiplied);
        mDirtyBegin = 0;
        mDirtyEnd = view.numColumns;
    }
    if (mDirtyBegin < mDirtyEnd && !mImage.isNull()) {
        if (mView.framesPerColumn <= kLineBelow)
            drawLines();
        else
            drawColumns(mDirtyBegin, mDirtyEnd);
    }
    mDirtyBegin = mDirtyEnd = 0;
    return mImage;
}

void WaveformRaster::invalidateAll()
{
    mColumns.invalidateAll();
    mDirtyBegin = 0;
    mDirtyEnd = mView.numColumns;
}

void WaveformRaster::invalidateFrames(int64_t offset, int64_t length)
{
    mColumns.invalidateFrames(offset, length);
    const double reach = std::max(1.0, 1024 / mView.framesPerColumn) + 1;
    const auto columnOf = [this](double frame) {
        return frame / mView.framesPerColumn - static_cast<double>(mView.firstColumn);
    };
    const double limit = mView.numColumns;
    const double begin = std::clamp(columnOf(static_cast<double>(offset)) - reach, 0.0, limit);
    const double end = std::clamp(columnOf(static_cast<double>(offset + length)) + reach, 0.0, limit);
    if (begin >= end)
        return;
    const bool wasClean = mDirtyBegin >= mDirtyEnd;
    mDirtyBegin = wasClean ? static_cast<int>(begin) : std::min(mDirtyBegin, static_cast<int>(begin));
    mDirtyEnd = std::max(wasClean ? 0 : mDirtyEnd, static_cast<int>(std::ceil(end)));
}

bool WaveformRaster::isOnlyScrolled(const View& view) const
{
    return view.framesPerColumn == mView.framesPerColumn && view.numColumns == mView.numColumns &&
           view.layout == mView.layout && view.colors == mView.colors && view.penWidth == mView.penWidth;
}

void WaveformRaster::scrollTo(int64_t firstColumn)
{
    const int64_t shift = firstColumn - mView.firstColumn;
    if (shift == 0)
        return;
    mView.firstColumn = firstColumn;
    const int width = mView.numColumns;
    // The image is drawn in one run: what was dirty before and what comes into view.
    if (std::abs(shift) >= width || mDirtyBegin < mDirtyEnd || mView.framesPerColumn <= kLineBelow) {
        mDirtyBegin = 0;
        mDirtyEnd = width;
        return;
    }
    moveRows(shift);
    mDirtyBegin = shift > 0 ? width - static_cast<int>(shift) : 0;
    // The column at the seam was joined to one that is no longer beside it.
    mDirtyEnd = shift > 0 ? width : std::min(width, static_cast<int>(-shift) + 1);
}

void WaveformRaster::moveRows(int64_t shift)
{
    const auto width = static_cast<size_t>(mView.numColumns);
    const auto distance = static_cast<size_t>(std::abs(shift));
    const size_t numBytes = (width - distance) * sizeof(QRgb);
    for (int row = 0; row < mImage.height(); ++row) {
        QRgb* const line = reinterpret_cast<QRgb*>(mImage.scanLine(row));
        if (shift > 0)
            std::memmove(line, line + distance, numBytes);
        else
            std::memmove(line + distance, line, numBytes);
    }
}

void WaveformRaster::drawColumns(int begin, int end)
{
    clearColumns(mImage, begin, end);
    const auto numFrames = static_cast<double>(mSubject.numFrames());
    const auto endColumn = static_cast<int64_t>(std::ceil(numFrames / mView.framesPerColumn));
    const int64_t first = std::max<int64_t>(mView.firstColumn + begin, 0);
    const int64_t last = std::min(mView.firstColumn + end, endColumn);
    if (first >= last)
        return;
    // The cache keeps the whole view; only what it does not know is asked for.
    const int64_t viewFirst = std::max<int64_t>(mView.firstColumn - 1, 0);
    const int64_t viewLast = std::min(mView.firstColumn + mView.numColumns, endColumn);
    for (int32_t track = 0; track < mView.layout.numTracks; ++track) {
        const std::span<const float> all =
            mColumns.columns(track, viewFirst, viewLast - viewFirst, mView.framesPerColumn);
        const auto numPairs = static_cast<size_t>(last - first);
        FloatBuffer pairs = {1.0F, -1.0F}; // nothing before column 0
        if (first > viewFirst)
            pairs.assign(&all[static_cast<size_t>(2 * (first - 1 - viewFirst))],
                         &all[static_cast<size_t>(2 * (first - viewFirst))]);
        const std::span<const float> wanted =
            all.subspan(static_cast<size_t>(2 * (first - viewFirst)), 2 * numPairs);
        pairs.insert(pairs.end(), wanted.begin(), wanted.end());
        TrackPainter::drawColumns(mImage, laneOf(mView.layout, track),
                                  static_cast<int>(first - mView.firstColumn), pairs, mView.colors);
    }
}

void WaveformRaster::drawLines()
{
    clearColumns(mImage, 0, mView.numColumns);
    const double fpc = mView.framesPerColumn;
    const auto firstColumn = static_cast<double>(mView.firstColumn);
    const int64_t first = std::max<int64_t>(static_cast<int64_t>(std::floor(firstColumn * fpc)) - 1, 0);
    const auto reach = static_cast<int64_t>(std::ceil((firstColumn + mView.numColumns) * fpc)) + 1;
    const int64_t last = std::min(reach, mSubject.numFrames());
    if (first >= last)
        return;
    const double x0 = (static_cast<double>(first) + 0.5) / fpc - firstColumn;
    for (int32_t track = 0; track < mView.layout.numTracks; ++track)
        TrackPainter::drawLine(mImage, laneOf(mView.layout, track), x0, 1 / fpc,
                               mColumns.columns(track, first, last - first, 1.0), mView.colors.silence,
                               mView.penWidth);
}

} // namespace velloria
