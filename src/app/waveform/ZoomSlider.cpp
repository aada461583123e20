#include "app/waveform/ZoomSlider.h"

#include "app/waveform/WaveformContext.h"

#include <QCoreApplication>
#include <QSignalBlocker>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kStepsPerDoubling = 100;
constexpr int kWidth = 130;

} // namespace

ZoomSlider::ZoomSlider(WaveformContext& context, QWidget* parent)
    : QSlider(Qt::Horizontal, parent)
    , mContext(context)
{
    setRange(static_cast<int>(ZoomCommands::sliderValueForZoom(WaveformViewGeometry::kMaxZoom) *
                              kStepsPerDoubling),
             static_cast<int>(ZoomCommands::sliderValueForZoom(WaveformViewGeometry::kMinZoom) *
                              kStepsPerDoubling));
    setSingleStep(kStepsPerDoubling);
    setPageStep(kStepsPerDoubling);
    setFixedWidth(kWidth);
    setFocusPolicy(Qt::TabFocus);
    //% "Zoom"
    setAccessibleName(qtTrId("zoom-slider-name"));
    setToolTip(accessibleName());
    showZoom();
    connect(&mContext, &WaveformContext::viewChanged, this, &ZoomSlider::showZoom);
    connect(this, &QSlider::valueChanged, this, [this](int value) {
        mContext.zoomCommands().setZoomSliderValue(static_cast<double>(value) / kStepsPerDoubling);
    });
}

void ZoomSlider::showZoom()
{
    // Between two steps the zoom stays what it is; only the thumb is rounded.
    const QSignalBlocker blocker(this);
    setValue(static_cast<int>(std::lround(mContext.zoomCommands().zoomSliderValue() * kStepsPerDoubling)));
}

} // namespace velloria
