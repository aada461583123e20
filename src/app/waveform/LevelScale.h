#pragma once

#include "app/waveform/LaneLayout.h"

#include <QWidget>
#include <vector>

namespace velloria
{

class WaveformContext;

/// The level scale beside the waveform, in dB below full scale or from -1 to 1, and the names of the tracks.
class LevelScale : public QWidget
{
    Q_OBJECT

public:
    explicit LevelScale(WaveformContext& context, QWidget* parent = nullptr);

    QSize sizeHint() const override;

    /// A labelled level, from 0 to 1, drawn above and below silence.
    struct Mark {
        double level = 0;
        QString label;
    };
    /// The marks for a lane in which full scale is `fullScale` pixels from silence, `spacing` or more apart.
    static std::vector<Mark> marks(bool inDecibels, double fullScale, double spacing);

Q_SIGNALS:
    void scaleMenuRequested(const QPoint& globalPosition);

protected:
    void paintEvent(QPaintEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    /// A label and the y that it stands at.
    struct Label {
        double y = 0;
        QString text;
    };
    std::vector<Label> levelLabels(const LaneLayout& layout, int32_t track, double textHeight) const;
    std::vector<Label> frequencyLabels(const LaneLayout& layout, int32_t track, double textHeight) const;
    void paintLane(QPainter& painter, const LaneLayout& layout, int32_t track) const;

    WaveformContext& mContext;
};

} // namespace velloria
