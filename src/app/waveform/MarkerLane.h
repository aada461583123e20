#pragma once

#include "document/clips/AudioMarker.h"

#include <QWidget>
#include <optional>
#include <vector>

namespace velloria
{

class WaveformContext;

/// The markers of the file with their names, as flags above the waveform. A click on one puts the cue there,
/// a double click selects up to the next.
class MarkerLane : public QWidget
{
    Q_OBJECT

public:
    explicit MarkerLane(WaveformContext& context, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    /// Opens a field over a marker's flag.
    void rename(const AudioMarkerPtr& marker);

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    struct Flag {
        AudioMarkerPtr marker;
        double x = 0;
        double width = 0; ///< up to the next flag at most
    };
    void reload();
    std::vector<Flag> visibleFlags() const;
    AudioMarkerPtr markerAt(double x) const;
    /// Where a marker is shown: where it is, or where it is being dragged to.
    double timeOf(const AudioMarkerPtr& marker) const;
    bool isLocked() const;
    void dragTo(const QMouseEvent& event);
    void paintFlag(QPainter& painter, const Flag& flag) const;

    WaveformContext& mContext;
    MarkerList mMarkers;
    AudioMarkerPtr mPressed;
    double mPressX = 0;
    /// Set once the pointer went far enough for a drag.
    std::optional<double> mDragTime;
};

} // namespace velloria
