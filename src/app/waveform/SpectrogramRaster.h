#pragma once

#include "app/waveform/LaneLayout.h"
#include "app/waveform/WaveformSubject.h"
#include "display/SpectrogramTiles.h"

#include <QImage>
#include <QObject>
#include <map>

class QPainter;

namespace velloria
{

/// Draws the spectrogram of all tracks out of tiles that are computed in the background. What has not been
/// computed yet is drawn from what is there: the sound before an edit, or another zoom. Main thread.
class SpectrogramRaster : public QObject
{
    Q_OBJECT

public:
    explicit SpectrogramRaster(WaveformSubject& subject, QObject* parent = nullptr);

    struct View {
        int64_t firstColumn = 0; ///< in device pixels from time 0; may be negative
        double framesPerColumn = 1;
        int numColumns = 0;
        LaneLayout layout; ///< in device pixels
        double devicePixelRatio = 1;
        bool isDark = false;
        FrequencyAxis axis;
    };

    /// Paints the view's lanes, and asks for what is missing.
    void paint(QPainter& painter, const View& view);
    void framesDidChange(int64_t offset, int64_t numFrames) { mTiles.framesDidChange(offset, numFrames); }
    bool isComplete() const { return mTiles.isComplete(); }

Q_SIGNALS:
    /// More is known: paint again.
    void changed();

private:
    struct Drawn {
        SpectrogramTiles::TilePtr tile;
        QImage image;
        uint64_t lastUse = 0;
    };

    const QImage& imageOf(const SpectrogramTiles::TilePtr& tile, int height);
    void paintStandIns(QPainter& painter, const View& view, int32_t track, const QRectF& area) const;
    void forgetOldImages();

    WaveformSubject& mSubject;
    SpectrogramTiles mTiles;
    std::vector<QRgb> mColors; ///< of the levels, the lowest first
    bool mIsDark = false;
    int mImageHeight = 0;
    std::map<SpectrogramTiles::Key, Drawn> mImages;
    uint64_t mNumPaints = 0;
};

} // namespace velloria
