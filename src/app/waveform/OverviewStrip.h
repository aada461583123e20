#pragma once

#include <QImage>
#include <QTimer>
#include <QWidget>

namespace velloria
{

class WaveformContext;

/// The whole document in a strip, all tracks in one, with a frame around what the waveform shows. The frame
/// is dragged to scroll, its edges to zoom; a press beside it moves it there.
class OverviewStrip : public QWidget
{
    Q_OBJECT

public:
    explicit OverviewStrip(WaveformContext& context, QWidget* parent = nullptr);

    QSize sizeHint() const override { return {200, 52}; }
    /// Where the frame is, in pixels of the strip.
    QRectF frameRect() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    enum class Part { none, frame, leftEdge, rightEdge };
    Part partAt(double x) const;
    void dragTo(double x);
    void updateImage();
    double xOfTime(double time) const;
    double timeOfX(double x) const;
    void paintSound(QPainter& painter, const QRect& dirty) const;
    void paintFrame(QPainter& painter) const;
    void showCursorFor(Part part);

    WaveformContext& mContext;
    QImage mImage;
    QTimer mImageTimer;
    bool mIsImageStale = true;
    Part mDragged = Part::none;
    double mDragOffset = 0; ///< from the frame's left edge to the pointer
};

} // namespace velloria
