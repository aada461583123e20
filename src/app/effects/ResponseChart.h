#pragma once

#include "app/look/Chart.h"
#include "effects/filters/FrequencyResponse.h"

#include <QPointF>
#include <functional>
#include <vector>

namespace velloria
{

/// A frequency response over a logarithmic axis, with a handle for each band or each point of a free curve.
/// Handles are dragged as far as they can move; Page Up and Page Down choose another, the arrow keys move the
/// chosen one (with Shift in finer steps), plus, minus and the wheel change its width, Home makes it level.
/// Of a free curve a click adds a point, Insert puts one behind the chosen one, Delete removes it. The chart
/// tells what a person wants; it shows nothing else than it is given. A place is (Hz, dB).
class ResponseChart : public Chart
{
    Q_OBJECT

public:
    static constexpr double kLowest = 20.0;
    static constexpr double kHighest = 20000.0;

    explicit ResponseChart(QWidget* parent = nullptr);

    using Curve = std::function<double(double frequency)>; ///< in dB
    /// Shows a response. With `isFree` handles are points that come and go.
    void showResponse(const Curve& curve, const std::vector<ResponseBand>& handles, double highestFrequency,
                      bool isFree);

    const std::vector<ResponseBand>& handles() const { return mHandles; }
    /// Index of the handle that keys and fields mean; -1 where there is none.
    int chosen() const { return mChosen; }
    void choose(int index);
    /// Asks to move the chosen handle, within what the chart shows or where it is already.
    void moveChosen(QPointF place);
    void removeChosen();

    // Between (Hz, dB) and a place in the widget.
    QPointF placeOf(QPointF point) const;
    QPointF pointAt(QPointF place) const;

Q_SIGNALS:
    void handleMoved(int index, double frequency, double gainDB);
    /// By wheel or keys: narrower for positive steps.
    void handleNarrowed(int index, int numSteps);
    void pointAdded(double frequency, double gainDB);
    void pointRemoved(int index);
    void chosenChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    int handleNear(QPointF place) const;
    const ResponseBand* chosenHandle() const;
    void setRange();
    void moveBy(double octaves, double decibels);
    void addBehindChosen();
    bool chooseByKey(int key);
    void sayChosen();
    void paintGrid(QPainter& painter) const;
    void paintCurve(QPainter& painter) const;
    void paintBeyond(QPainter& painter) const;
    void paintHandles(QPainter& painter) const;
    QString chosenText() const;

    Curve mCurve;
    std::vector<ResponseBand> mHandles;
    double mHighestFrequency = 0.0;
    bool mIsFree = false;
    double mTopDB = 18.0;
    double mBottomDB = -18.0;
    int mChosen = -1;
    int mHovered = -1;
    bool mIsDragging = false;
    QPointF mGrip; ///< from the pointer to the dragged handle
};

} // namespace velloria
