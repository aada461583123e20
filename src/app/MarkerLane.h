#pragma once

#include "document/clips/AudioMarker.h"

#include <QWidget>
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

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
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
    double timeOf(const AudioMarkerPtr& marker) const;
    void paintFlag(QPainter& painter, const Flag& flag) const;

    WaveformContext& mContext;
    std::vector<AudioMarkerPtr> mMarkers;
};

} // namespace velloria
