#pragma once

#include <QWidget>

namespace velloria
{

class WaveformContext;

/// The time ruler above the waveform. A press or drag puts the cue, with Shift it extends the selection.
class RulerWidget : public QWidget
{
    Q_OBJECT

public:
    explicit RulerWidget(WaveformContext& context, QWidget* parent = nullptr);

    QSize sizeHint() const override;

Q_SIGNALS:
    /// The menu of units is wanted.
    void unitsMenuRequested(const QPoint& globalPosition);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void takePosition(const QMouseEvent& event);
    void paintCue(QPainter& painter) const;

    WaveformContext& mContext;
};

} // namespace velloria
