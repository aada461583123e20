#pragma once

#include "app/waveform/LaneLayout.h"
#include "app/waveform/SpectrogramRaster.h"
#include "app/waveform/WaveformRaster.h"

#include <QTimer>
#include <QWidget>
#include <memory>

namespace velloria
{

class WaveformContext;
class WaveformKeys;
class WaveformMouse;

/// The tracks of a document with selection, cue and markers. Draws; what the mouse and the keys do is told by
/// WaveformMouse and WaveformKeys. Repaints only what changed.
class WaveformWidget : public QWidget
{
    Q_OBJECT

public:
    explicit WaveformWidget(WaveformContext& context, QWidget* parent = nullptr);
    ~WaveformWidget() override;

    WaveformContext& context() { return mContext; }
    LaneLayout layoutOfLanes() const;
    const WaveformRaster& raster() const { return mRaster; }
    const SpectrogramRaster& spectrogram() const { return mSpectrogram; }

    QSize sizeHint() const override { return {900, 320}; }
    QSize minimumSizeHint() const override { return {200, 80}; }

Q_SIGNALS:
    /// What a drag from here would do, or an empty text.
    void hintChanged(const QString& hint);

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void connectContext();
    void updateSelection(const SoundSelection& before);
    void updateTimes(double start, double end);
    void updateFrames(int64_t offset, int64_t length);
    void reload();
    WaveformRaster::View rasterView() const;
    void paintLanes(QPainter& painter, const QRect& dirty) const;
    void paintGrid(QPainter& painter, const QRect& dirty) const;
    void paintEditGrid(QPainter& painter, const QRectF& area) const;
    void paintSelection(QPainter& painter) const;
    void paintSound(QPainter& painter, const QRect& dirty);
    void paintSpectrogram(QPainter& painter);
    void paintLines(QPainter& painter, const QRect& dirty) const;
    void paintEmptyText(QPainter& painter) const;
    QRectF rectOfTimes(double start, double end) const;

    WaveformContext& mContext;
    WaveformRaster mRaster;
    SpectrogramRaster mSpectrogram;
    std::unique_ptr<WaveformMouse> mMouse;
    std::unique_ptr<WaveformKeys> mKeys;
    QTimer mFramesTimer;
    int64_t mChangedBegin = 0; ///< frames that a background scan filled in and that are not drawn yet
    int64_t mChangedEnd = 0;
};

} // namespace velloria
