#include "app/effects/EnvelopeChart.h"

#include "app/look/Theme.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QLocale>
#include <QMenu>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kUsualTop = 2.0;
constexpr double kHighestGain = 100.0;
constexpr double kRadius = 4.5;
constexpr double kReach = 9.0;
constexpr double kStep = 0.01;
constexpr double kFineStep = 0.001;
constexpr int kLeftMargin = 46;
constexpr int kMargin = 10;
constexpr int kBottomMargin = 22;
constexpr QSize kSize(480, 220);

QString percentText(double fraction)
{
    //: A share; %1 is a number
    //% "%1 %"
    return qtTrId("envelope-percent").arg(QLocale().toString(std::round(fraction * 1000) / 10));
}

/// What the fields show without more digits.
QPointF rounded(QPointF point)
{
    return {std::round(point.x() / kFineStep) * kFineStep, std::round(point.y() / kFineStep) * kFineStep};
}

} // namespace

EnvelopeChart::EnvelopeChart(QWidget* parent)
    : Chart({kLeftMargin, kBottomMargin, kMargin}, kSize, parent)
{
    //% "Click to add a point, drag it to move it. Page Up and Page Down choose a point, the arrow keys move it, "
    //% "Insert adds one behind it, Delete removes it."
    setToolTip(qtTrId("envelope-tip"));
}

std::vector<double> EnvelopeChart::numbers() const
{
    std::vector<double> numbers;
    for (const QPointF& point : mPoints)
        numbers.insert(numbers.end(), {point.x(), point.y()});
    return numbers;
}

void EnvelopeChart::showNumbers(const std::vector<double>& numbers)
{
    if (numbers == this->numbers())
        return;
    mPoints.clear();
    for (size_t i = 0; i + 1 < numbers.size(); i += 2)
        mPoints.emplace_back(numbers[i], numbers[i + 1]);
    update();
    choose(std::min(std::max(mChosen, 0), static_cast<int>(mPoints.size()) - 1));
}

void EnvelopeChart::choose(int index)
{
    mChosen = index;
    sayChosen();
    update();
    Q_EMIT chosenChanged();
}

void EnvelopeChart::sayChosen()
{
    const QPointF point = mChosen < 0 ? QPointF() : mPoints[static_cast<size_t>(mChosen)];
    //: What a screen reader says; %1 is the number of the point, %2 of how many, %3 and %4 are like "50 %"
    //% "Envelope, point %1 of %2: %3 of the selection, gain %4"
    setAccessibleName(qtTrId("envelope-name")
                          .arg(mChosen + 1)
                          .arg(mPoints.size())
                          .arg(percentText(point.x()), percentText(point.y())));
}

QPointF EnvelopeChart::within(int index, QPointF point) const
{
    const auto i = static_cast<size_t>(index);
    const double from = i > 0 ? mPoints[i - 1].x() : std::min(0.0, mPoints[i].x());
    const double to = i + 1 < mPoints.size() ? mPoints[i + 1].x() : std::max(1.0, mPoints[i].x());
    // A script may have given points in no order.
    return {from <= to ? std::clamp(point.x(), from, to) : mPoints[i].x(),
            std::clamp(point.y(), 0.0, kHighestGain)};
}

void EnvelopeChart::moveChosen(QPointF to)
{
    if (mChosen < 0)
        return;
    QPointF& point = mPoints[static_cast<size_t>(mChosen)];
    const QPointF allowed = within(mChosen, to);
    if (allowed == point)
        return;
    point = allowed;
    sayChosen();
    update();
    Q_EMIT edited();
}

void EnvelopeChart::addPoint(QPointF point)
{
    const auto isBehind = [&point](const QPointF& each) { return each.x() > point.x(); };
    const auto next = std::find_if(mPoints.begin(), mPoints.end(), isBehind);
    const auto added = mPoints.insert(next, point);
    choose(static_cast<int>(added - mPoints.begin()));
    Q_EMIT edited();
}

void EnvelopeChart::addBehindChosen()
{
    if (mPoints.size() < 2)
        return;
    const auto from = std::min(static_cast<size_t>(std::max(mChosen, 0)), mPoints.size() - 2);
    addPoint((mPoints[from] + mPoints[from + 1]) / 2);
}

void EnvelopeChart::removeChosen()
{
    if (mChosen < 0 || !canRemove())
        return;
    mPoints.erase(mPoints.begin() + mChosen);
    mIsDragging = false;
    choose(std::min(mChosen, static_cast<int>(mPoints.size()) - 1));
    Q_EMIT edited();
}

double EnvelopeChart::top() const
{
    double highest = kUsualTop;
    for (const QPointF& point : mPoints)
        highest = std::max(highest, std::ceil(point.y()));
    return highest;
}

QPointF EnvelopeChart::placeOf(QPointF point) const
{
    const QRectF inner = area();
    return {inner.left() + point.x() * inner.width(), inner.bottom() - point.y() / top() * inner.height()};
}

QPointF EnvelopeChart::pointAt(QPointF place) const
{
    const QRectF inner = area();
    return {std::clamp((place.x() - inner.left()) / inner.width(), 0.0, 1.0),
            std::clamp((inner.bottom() - place.y()) / inner.height(), 0.0, 1.0) * top()};
}

int EnvelopeChart::pointNear(QPointF place) const
{
    int nearest = -1;
    double least = kReach;
    for (size_t i = 0; i < mPoints.size(); ++i) {
        const QPointF away = placeOf(mPoints[i]) - place;
        const double distance = std::hypot(away.x(), away.y());
        if (distance <= least) {
            least = distance;
            nearest = static_cast<int>(i);
        }
    }
    return nearest;
}

void EnvelopeChart::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const int index = pointNear(event->position());
    if (index >= 0)
        choose(index);
    else
        addPoint(rounded(pointAt(event->position())));
    mGrip = placeOf(mPoints[static_cast<size_t>(mChosen)]) - event->position();
    mIsDragging = true;
}

void EnvelopeChart::mouseMoveEvent(QMouseEvent* event)
{
    if (mIsDragging)
        moveChosen(rounded(pointAt(event->position() + mGrip)));
}

void EnvelopeChart::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        mIsDragging = false;
}

void EnvelopeChart::keyPressEvent(QKeyEvent* event)
{
    const double step = (event->modifiers() & Qt::ShiftModifier) ? kFineStep : kStep;
    const auto moveBy = [this](double x, double y) {
        if (mChosen >= 0)
            moveChosen(mPoints[static_cast<size_t>(mChosen)] + QPointF(x, y));
    };
    const int last = static_cast<int>(mPoints.size()) - 1;
    switch (event->key()) {
    case Qt::Key_Left:
        return moveBy(-step, 0);
    case Qt::Key_Right:
        return moveBy(step, 0);
    case Qt::Key_Up:
        return moveBy(0, step);
    case Qt::Key_Down:
        return moveBy(0, -step);
    case Qt::Key_PageUp:
        return choose(std::max(mChosen - 1, std::min(0, last)));
    case Qt::Key_PageDown:
        return choose(std::min(mChosen + 1, last));
    case Qt::Key_Insert:
        return addBehindChosen();
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        return removeChosen();
    default:
        QWidget::keyPressEvent(event);
    }
}

void EnvelopeChart::contextMenuEvent(QContextMenuEvent* event)
{
    const bool isByMouse = event->reason() == QContextMenuEvent::Mouse;
    if (const int index = isByMouse ? pointNear(event->pos()) : mChosen; index >= 0)
        choose(index);
    QMenu menu(this);
    const QPointF point = isByMouse ? rounded(pointAt(event->pos())) : QPointF();
    //% "Add Point"
    menu.addAction(qtTrId("envelope-add"), this, [this, isByMouse, point] {
        if (isByMouse)
            addPoint(point);
        else
            addBehindChosen();
    });
    //% "Remove Point"
    QAction* const remove = menu.addAction(qtTrId("envelope-remove"), this, [this] { removeChosen(); });
    remove->setEnabled(canRemove() && mChosen >= 0);
    menu.exec(event->globalPos());
}

void EnvelopeChart::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    paintGrid(painter);
    if (!mPoints.empty())
        paintLine(painter);
}

void EnvelopeChart::paintGrid(QPainter& painter) const
{
    const Theme theme = Theme::fromPalette(palette());
    paintBackground(painter);
    const double highest = top();
    const double gainStep = highest <= 4 ? 0.5 : std::ceil(highest / 4);
    for (int i = 0; i * gainStep <= highest; ++i) {
        const double gain = i * gainStep;
        paintLevelLine(painter, placeOf({0, gain}).y(), gain == 1.0 ? theme.axis : theme.grid,
                       percentText(gain));
    }
    double nameEnd = 0;
    for (int i = 0; i <= 4; ++i) {
        const double x = placeOf({i / 4.0, 0}).x();
        paintPlaceLine(painter, x, theme.grid);
        nameEnd = paintPlaceName(painter, x, percentText(i / 4.0), nameEnd);
    }
    paintFrame(painter);
}

void EnvelopeChart::paintLine(QPainter& painter) const
{
    const Theme theme = Theme::fromPalette(palette());
    const QRectF inner = area();
    // The first and last level hold to the ends.
    QPolygonF line;
    line << QPointF(inner.left(), placeOf(mPoints.front()).y());
    for (const QPointF& point : mPoints)
        line << placeOf(point);
    line << QPointF(inner.right(), line.last().y());
    painter.save();
    painter.setClipRect(inner);
    QPolygonF below = line;
    below << inner.bottomRight() << inner.bottomLeft();
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.selection);
    painter.drawPolygon(below);
    painter.setPen(QPen(theme.waveform, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(line);
    painter.restore();
    for (size_t i = 0; i < mPoints.size(); ++i) {
        const bool isChosen = static_cast<int>(i) == mChosen;
        painter.setPen(QPen(isChosen ? palette().color(QPalette::Highlight) : theme.waveform, 2));
        painter.setBrush(isChosen ? palette().color(QPalette::Highlight) : theme.lane);
        painter.drawEllipse(placeOf(mPoints[i]), kRadius, kRadius);
    }
}

} // namespace velloria
