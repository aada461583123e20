#pragma once

#include <QSlider>

namespace velloria
{

class WaveformContext;

/// Shows and sets the zoom: to the right is closer, one step of the keyboard is a factor of two.
class ZoomSlider : public QSlider
{
    Q_OBJECT

public:
    explicit ZoomSlider(WaveformContext& context, QWidget* parent = nullptr);

private:
    void showZoom();

    WaveformContext& mContext;
};

} // namespace velloria
