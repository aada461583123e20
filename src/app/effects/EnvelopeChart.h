#pragma once

#include "app/look/Chart.h"

#include <QPointF>
#include <vector>

namespace velloria
{

/// The envelope of a fade as a line with points: x from 0 to 1 over the selection, y the gain as a factor.
/// A click on the line adds a point, dragging moves one between its neighbours, Delete removes it; Page Up
/// and Page Down choose another, the arrow keys move the chosen one. Two points stay.
class EnvelopeChart : public Chart
{
    Q_OBJECT

public:
    explicit EnvelopeChart(QWidget* parent = nullptr);

    /// x0, y0, x1, y1, ...
    std::vector<double> numbers() const;
    /// Shows others, and tells nobody. A chosen point that is no longer there gives way to the last one.
    void showNumbers(const std::vector<double>& numbers);

    const std::vector<QPointF>& points() const { return mPoints; }
    /// Index of the point that keys, fields and Delete mean; -1 where there are none.
    int chosen() const { return mChosen; }
    void choose(int index);
    /// Moves the chosen point, within its neighbours, the selection and what a gain may be.
    void moveChosen(QPointF to);
    /// Adds a point and chooses it.
    void addPoint(QPointF point);
    void removeChosen();
    bool canRemove() const { return mPoints.size() > 2; }

    // Between a point and its place in the widget.
    QPointF placeOf(QPointF point) const;
    QPointF pointAt(QPointF place) const;

Q_SIGNALS:
    /// A person changed the points.
    void edited();
    void chosenChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    /// The gain at the upper edge: 2, or more where a point lies higher.
    double top() const;
    /// The point under a place; -1 for none.
    int pointNear(QPointF place) const;
    QPointF within(int index, QPointF point) const;
    void addBehindChosen();
    void paintGrid(QPainter& painter) const;
    void paintLine(QPainter& painter) const;
    void sayChosen();

    std::vector<QPointF> mPoints;
    int mChosen = -1;
    bool mIsDragging = false;
    QPointF mGrip; ///< from the pointer to the dragged point
};

} // namespace velloria
