#pragma once

#include "app/waveform/ColumnCache.h"
#include "app/waveform/LaneLayout.h"
#include "app/waveform/TrackPainter.h"

#include <QImage>

namespace velloria
{

/// The picture of all tracks between two columns, kept from one repaint to the next. Scrolling moves it and
/// draws the new columns only; what a change invalidates is drawn anew at the next request. Device pixels.
/// Main thread.
class WaveformRaster
{
public:
    explicit WaveformRaster(WaveformSubject& subject)
        : mColumns(subject)
        , mSubject(subject)
    {
    }

    struct View {
        int64_t firstColumn = 0; ///< may be negative: before time 0
        double framesPerColumn = 1;
        int numColumns = 0;
        LaneLayout layout;
        TrackPainter::Colors colors;
        double penWidth = 1;
    };

    /// Transparent where there is no sound.
    const QImage& imageOf(const View& view);

    void invalidateAll();
    void invalidateFrames(int64_t offset, int64_t length);
    const ColumnCache& columnCache() const { return mColumns; }

    /// At this many frames a column, or fewer, samples are joined by a line.
    static constexpr double kLineBelow = 2.0;

private:
    bool isOnlyScrolled(const View& view) const;
    void scrollTo(int64_t firstColumn);
    void moveRows(int64_t shift);
    void drawColumns(int begin, int end);
    void drawLines();

    ColumnCache mColumns;
    WaveformSubject& mSubject;
    View mView;
    QImage mImage;
    int mDirtyBegin = 0; ///< columns of the image to draw anew
    int mDirtyEnd = 0;
};

} // namespace velloria
