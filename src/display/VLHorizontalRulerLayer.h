#pragma once

#include "display/NumberFormatter.h"
#include "display/TimeFormatter.h"

#include <QLocale>
#include <QString>
#include <cstdint>
#include <vector>

namespace velloria
{

/// One tick of a ruler tile; the one at the tile's left edge is major.
struct RulerTick {
    double x = 0.0;
    bool isMajor = false;
};

/// One tile of the ruler. Pixels are counted from time 0, as the scroll position is.
struct RulerTile {
    int64_t index = 0;
    double x = 0.0;
    double width = 0.0;
    QString label; ///< Of the time at x; empty where the neighbours' labels would overlap it.
    std::vector<RulerTick> ticks;
};

/// Lays out the time ruler above the waveform as a row of equally wide tiles, each with a label and ticks.
///
/// It draws nothing: whoever draws the ruler asks for the tiles in view. Every setter chooses the tiles anew.
/// The first tile begins at time 0; there are none before it. Main thread.
class VLHorizontalRulerLayer
{
public:
    explicit VLHorizontalRulerLayer(const QLocale& locale = QLocale());

    /// Frames per pixel. A zoom or rate that is not above 0 is refused.
    double zoom() const { return _zoom; }
    void setZoom(double zoom);
    double sampleRate() const { return _sampleRate; }
    void setSampleRate(double sampleRate);
    /// One of RulerUnits; any other code reads as minutes and seconds.
    int64_t units() const { return _timeFormatter.units(); }
    void setUnits(int64_t units);

    /// What one tile covers: seconds, or samples for the sample ruler, or the units of
    /// fpsRulerSetUpWithFps().
    double valuePerTile() const { return _valuePerTile; }
    int divisions() const { return _divisions; }
    double tileWidth() const { return _tileWidth; }

    /// Chooses the set-up by the units.
    void reloadTiles();

    void defaultRulerSetUp();
    void sampleRulerSetUp();
    /// For 30, 25 and 24 frames a second; any other rate is logged and gets plain tiles of 80 pixels.
    void timeAndFramesRulerSetUpWithFps(double fps);
    void feetAndFramesRulerSetUp();
    /// For a ruler in seconds (fps 1) or in film frames (fps 24).
    void fpsRulerSetUpWithFps(double fps);

    QString stringForTileWithIndex(int64_t index) const;

    /// Labels of the tile whose first sample is at sampleIndex, for the set-up made last.
    QString defaultRulerLabelStringWithSampleIndex(double sampleIndex) const;
    QString sampleRulerLabelStringWithSampleIndex(double sampleIndex) const;
    QString timeAndFramesRulerLabelStringWithSampleIndex(double sampleIndex, double fps) const;
    QString feetAndFramesRulerLabelStringWithSampleIndex(double sampleIndex) const;
    QString fpsRulerLabelStringWithSampleIndex(double sampleIndex, double fps) const;

    /// The tiles that touch the pixels from firstPixel up to endPixel, from left to right.
    std::vector<RulerTile> tilesInRange(double firstPixel, double endPixel) const;

private:
    void setTiles(double value, int divisions, double framesPerValue);
    void setDecimalTiles(double minValue, double framesPerValue);
    double secondsUnderPixels(double numPixels) const { return numPixels * _zoom / _sampleRate; }
    std::vector<RulerTick> ticksOfTileAt(double x) const;

    double _zoom = 1.0;
    double _sampleRate = 44100.0;
    double _valuePerTile = 0.0;
    int _divisions = 1;
    double _tileWidth = 0.0;
    double _framesPerTile = 0.0;
    TimeFormatter _timeFormatter;
    NumberFormatter _numberFormatter;
};

} // namespace velloria
