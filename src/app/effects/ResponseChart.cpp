#include "app/effects/ResponseChart.h"

#include "app/look/Theme.h"

#include <QKeyEvent>
#include <QLocale>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kRadius = 5.0;
constexpr double kReach = 11.0;
constexpr int kLeftMargin = 40;
constexpr int kMargin = 10;
constexpr int kBottomMargin = 22;
constexpr QSize kSize(520, 220);
constexpr double kOctaveStep = 1.0 / 12.0;
constexpr double kDecibelStep = 0.5;
constexpr double kFinePart = 0.2;
/// What the dB axis may reach, of which the least that holds everything is taken.
constexpr double kRanges[] = {18.0, 36.0, 60.0};
constexpr double kPassTopDB = 12.0;
constexpr double kPassBottomDB = -60.0;

/// Three digits, which is finer than anybody hears.
double roundedFrequency(double frequency)
{
    const double unit = std::pow(10.0, std::floor(std::log10(frequency)) - 2.0);
    return std::round(frequency / unit) * unit;
}

double roundedDecibels(double decibels)
{
    return std::round(decibels * 10.0) / 10.0;
}

QString frequencyText(double frequency)
{
    const QLocale locale;
    if (frequency < 1000.0)
        //: A frequency; %1 is a number
        //% "%1 Hz"
        return qtTrId("response-hertz").arg(locale.toString(frequency, 'g', 4));
    //: A frequency; %1 is a number
    //% "%1 kHz"
    return qtTrId("response-kilohertz").arg(locale.toString(frequency / 1000.0, 'g', 4));
}

QString decibelText(double decibels)
{
    const QString sign = decibels > 0.0 ? QStringLiteral("+") : QString();
    //: A level; %1 is a number
    //% "%1 dB"
    return qtTrId("response-decibels").arg(sign + QLocale().toString(roundedDecibels(decibels), 'f', 1));
}

} // namespace

ResponseChart::ResponseChart(QWidget* parent)
    : Chart({kLeftMargin, kBottomMargin, kMargin}, kSize, parent)
{
    setMouseTracking(true);
}

void ResponseChart::showResponse(const Curve& curve, const std::vector<ResponseBand>& handles,
                                 double highestFrequency, bool isFree)
{
    mCurve = curve;
    mHandles = handles;
    mHighestFrequency = highestFrequency;
    mIsFree = isFree;
    //% "Click to add a point, drag it to move it. Page Up and Page Down choose a point, the arrow keys move it, "
    //% "Insert adds one behind it, Delete removes it."
    const QString free = qtTrId("response-tip-free");
    //% "Drag a handle to move it; the wheel makes its band narrower or wider, a double click level. Page Up and "
    //% "Page Down choose a handle, the arrow keys move it."
    setToolTip(isFree ? free : qtTrId("response-tip-bands"));
    setRange();
    const int last = static_cast<int>(mHandles.size()) - 1;
    if (mChosen > last || mChosen < 0)
        choose(std::min(std::max(mChosen, 0), last));
    sayChosen();
    update();
}

void ResponseChart::setRange()
{
    // It stands still under a dragged handle.
    if (mIsDragging)
        return;
    const auto movesUp = [](const ResponseBand& handle) { return handle.gainParameter.has_value(); };
    if (!mIsFree && std::none_of(mHandles.begin(), mHandles.end(), movesUp)) {
        mTopDB = kPassTopDB;
        mBottomDB = kPassBottomDB;
        return;
    }
    double most = 0.0;
    for (const ResponseBand& handle : mHandles)
        most = std::max(most, std::abs(handle.gainDB));
    const int numSteps = static_cast<int>(std::log(kHighest / kLowest) / std::log(1.1));
    for (int i = 0; i <= numSteps; ++i)
        most = std::max(most, std::abs(mCurve(kLowest * std::pow(1.1, i))));
    const auto* const range = std::find_if(std::begin(kRanges), std::end(kRanges) - 1,
                                           [most](double each) { return each >= most; });
    mTopDB = *range;
    mBottomDB = -*range;
}

const ResponseBand* ResponseChart::chosenHandle() const
{
    return mChosen < 0 ? nullptr : &mHandles[static_cast<size_t>(mChosen)];
}

void ResponseChart::choose(int index)
{
    mChosen = index;
    sayChosen();
    update();
    Q_EMIT chosenChanged();
}

QString ResponseChart::chosenText() const
{
    const ResponseBand* const handle = chosenHandle();
    return handle ? frequencyText(handle->frequency) + QStringLiteral("   ") + decibelText(handle->gainDB)
                  : QString();
}

void ResponseChart::sayChosen()
{
    const ResponseBand* const handle = chosenHandle();
    if (!handle)
        return;
    //: What a screen reader says; %1 is the number of the handle, %2 of how many, %3 and %4 are like "1 kHz", "-3 dB"
    //% "Frequency response, handle %1 of %2: %3, %4"
    setAccessibleName(qtTrId("response-name")
                          .arg(mChosen + 1)
                          .arg(mHandles.size())
                          .arg(frequencyText(handle->frequency), decibelText(handle->gainDB)));
}

void ResponseChart::moveChosen(QPointF place)
{
    const ResponseBand* const handle = chosenHandle();
    if (!handle)
        return;
    const bool movesAside = mIsFree || handle->frequencyParameter;
    const bool movesUp = mIsFree || handle->gainParameter;
    const double frequency = movesAside ? roundedFrequency(std::max(place.x(), 1.0)) : handle->frequency;
    const double decibels = movesUp ? roundedDecibels(place.y()) : handle->gainDB;
    if (frequency != handle->frequency || decibels != handle->gainDB)
        Q_EMIT handleMoved(mChosen, frequency, decibels);
}

void ResponseChart::removeChosen()
{
    if (!mIsFree || mHandles.size() < 2 || mChosen < 0)
        return;
    mIsDragging = false;
    Q_EMIT pointRemoved(mChosen);
}

QPointF ResponseChart::placeOf(QPointF point) const
{
    const QRectF inner = area();
    const double across = std::log(std::max(point.x(), 1.0) / kLowest) / std::log(kHighest / kLowest);
    const double down = (mTopDB - point.y()) / (mTopDB - mBottomDB);
    return {inner.left() + across * inner.width(), inner.top() + down * inner.height()};
}

QPointF ResponseChart::pointAt(QPointF place) const
{
    const QRectF inner = area();
    const double across = std::clamp((place.x() - inner.left()) / inner.width(), 0.0, 1.0);
    const double down = std::clamp((place.y() - inner.top()) / inner.height(), 0.0, 1.0);
    return {kLowest * std::pow(kHighest / kLowest, across), mTopDB - down * (mTopDB - mBottomDB)};
}

int ResponseChart::handleNear(QPointF place) const
{
    int nearest = -1;
    double least = kReach;
    for (size_t i = 0; i < mHandles.size(); ++i) {
        const QPointF away = placeOf({mHandles[i].frequency, mHandles[i].gainDB}) - place;
        if (const double distance = std::hypot(away.x(), away.y()); distance <= least) {
            least = distance;
            nearest = static_cast<int>(i);
        }
    }
    return nearest;
}

void ResponseChart::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const int index = handleNear(event->position());
    if (index >= 0) {
        choose(index);
    } else if (mIsFree) {
        const QPointF point = pointAt(event->position());
        Q_EMIT pointAdded(roundedFrequency(point.x()), roundedDecibels(point.y()));
    } else {
        return;
    }
    const ResponseBand* const handle = chosenHandle();
    mIsDragging = handle != nullptr;
    if (handle)
        mGrip = placeOf({handle->frequency, handle->gainDB}) - event->position();
}

void ResponseChart::mouseMoveEvent(QMouseEvent* event)
{
    if (mIsDragging)
        return moveChosen(pointAt(event->position() + mGrip));
    const int hovered = handleNear(event->position());
    if (hovered != mHovered)
        update();
    mHovered = hovered;
    setCursor(hovered >= 0 ? Qt::OpenHandCursor : mIsFree ? Qt::CrossCursor : Qt::ArrowCursor);
}

void ResponseChart::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !mIsDragging)
        return;
    mIsDragging = false;
    setRange();
    update();
}

void ResponseChart::mouseDoubleClickEvent(QMouseEvent* event)
{
    const int index = handleNear(event->position());
    if (index < 0 || event->button() != Qt::LeftButton)
        return;
    choose(index);
    moveChosen({chosenHandle()->frequency, 0.0});
}

void ResponseChart::wheelEvent(QWheelEvent* event)
{
    const int index = handleNear(event->position());
    const int numSteps = event->angleDelta().y() / 120;
    if (index < 0 || numSteps == 0 || !mHandles[static_cast<size_t>(index)].widthParameter)
        return event->ignore();
    choose(index);
    Q_EMIT handleNarrowed(index, numSteps);
}

void ResponseChart::leaveEvent(QEvent* event)
{
    QWidget::leaveEvent(event);
    mHovered = -1;
    update();
}

void ResponseChart::moveBy(double octaves, double decibels)
{
    if (const ResponseBand* const handle = chosenHandle())
        moveChosen({handle->frequency * std::exp2(octaves), handle->gainDB + decibels});
}

void ResponseChart::addBehindChosen()
{
    if (!mIsFree || mChosen < 0)
        return;
    const ResponseBand& from = mHandles[static_cast<size_t>(mChosen)];
    const bool hasNext = static_cast<size_t>(mChosen) + 1 < mHandles.size();
    const double to = hasNext ? mHandles[static_cast<size_t>(mChosen) + 1].frequency : from.frequency * 2.0;
    const double between = roundedFrequency(std::sqrt(from.frequency * to));
    Q_EMIT pointAdded(between, roundedDecibels(mCurve(between)));
}

bool ResponseChart::chooseByKey(int key)
{
    const int last = static_cast<int>(mHandles.size()) - 1;
    if (key == Qt::Key_PageUp)
        choose(std::max(mChosen - 1, std::min(0, last)));
    else if (key == Qt::Key_PageDown)
        choose(std::min(mChosen + 1, last));
    else
        return false;
    return true;
}

void ResponseChart::keyPressEvent(QKeyEvent* event)
{
    const double part = (event->modifiers() & Qt::ShiftModifier) ? kFinePart : 1.0;
    const auto narrow = [this](int numSteps) {
        if (mChosen >= 0 && chosenHandle()->widthParameter)
            Q_EMIT handleNarrowed(mChosen, numSteps);
    };
    if (chooseByKey(event->key()))
        return;
    switch (event->key()) {
    case Qt::Key_Left:
        return moveBy(-kOctaveStep * part, 0.0);
    case Qt::Key_Right:
        return moveBy(kOctaveStep * part, 0.0);
    case Qt::Key_Up:
        return moveBy(0.0, kDecibelStep * part);
    case Qt::Key_Down:
        return moveBy(0.0, -kDecibelStep * part);
    case Qt::Key_Home:
        return mChosen < 0 ? void() : moveBy(0.0, -chosenHandle()->gainDB);
    case Qt::Key_Plus:
        return narrow(1);
    case Qt::Key_Minus:
        return narrow(-1);
    case Qt::Key_Insert:
        return addBehindChosen();
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        return removeChosen();
    default:
        QWidget::keyPressEvent(event);
    }
}

void ResponseChart::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    paintGrid(painter);
    if (mCurve)
        paintCurve(painter);
    paintBeyond(painter);
    paintHandles(painter);
    paintFrame(painter);
}

void ResponseChart::paintGrid(QPainter& painter) const
{
    const Theme theme = Theme::fromPalette(palette());
    paintBackground(painter);
    QColor faint = theme.grid;
    faint.setAlphaF(faint.alphaF() * 0.45F);
    double nameEnd = 0.0;
    for (const double decade : {10.0, 100.0, 1000.0, 10000.0}) {
        for (int digit = 1; digit <= 9; ++digit) {
            const double frequency = decade * digit;
            if (frequency < kLowest || frequency > kHighest)
                continue;
            const double x = placeOf({frequency, 0.0}).x();
            paintPlaceLine(painter, x, digit == 1 ? theme.grid : faint);
            if (digit != 1 && digit != 2 && digit != 5)
                continue;
            const QString text = frequency < 1000.0
                                     ? QLocale().toString(frequency, 'g', 4)
                                     : QLocale().toString(frequency / 1000.0, 'g', 4) + QStringLiteral("k");
            nameEnd = paintPlaceName(painter, x, text, nameEnd);
        }
    }
    const double step = mTopDB - mBottomDB > 80.0 ? 20.0 : mTopDB - mBottomDB > 40.0 ? 12.0 : 6.0;
    const double lowest = std::ceil(mBottomDB / step) * step;
    for (int i = 0; lowest + i * step <= mTopDB; ++i) {
        const double level = lowest + i * step;
        const QString sign = level > 0.0 ? QStringLiteral("+") : QString();
        paintLevelLine(painter, placeOf({kLowest, level}).y(), level == 0.0 ? theme.axis : theme.grid,
                       sign + QLocale().toString(level, 'f', 0));
    }
}

void ResponseChart::paintCurve(QPainter& painter) const
{
    const Theme theme = Theme::fromPalette(palette());
    const QRectF inner = area();
    QPolygonF line;
    for (int i = 0; i <= inner.width() + 0.5; ++i) {
        const double x = inner.left() + i;
        const double frequency = pointAt({x, inner.top()}).x();
        // Far below the chart is as good as where it really lies.
        line << QPointF(x, placeOf({frequency, std::max(mCurve(frequency), 3.0 * mBottomDB)}).y());
    }
    painter.save();
    painter.setClipRect(inner);
    const double zero = placeOf({kLowest, 0.0}).y();
    QPolygonF filled = line;
    filled << QPointF(inner.right(), zero) << QPointF(inner.left(), zero);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.selection);
    painter.drawPolygon(filled);
    painter.setPen(QPen(theme.waveform, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(line);
    painter.restore();
}

/// What the sample rate has no room for.
void ResponseChart::paintBeyond(QPainter& painter) const
{
    if (mHighestFrequency >= kHighest)
        return;
    const QRectF inner = area();
    const double x = std::max(inner.left(), placeOf({mHighestFrequency, 0.0}).x());
    const Theme theme = Theme::fromPalette(palette());
    QColor veil = theme.outside;
    veil.setAlpha(215);
    painter.fillRect(QRectF(QPointF(x, inner.top()), inner.bottomRight()), veil);
}

void ResponseChart::paintHandles(QPainter& painter) const
{
    const Theme theme = Theme::fromPalette(palette());
    const QRectF inner = area();
    const QColor highlight = palette().color(QPalette::Highlight);
    for (size_t i = 0; i < mHandles.size(); ++i) {
        const ResponseBand& handle = mHandles[i];
        if (handle.frequency < kLowest * 0.999 || handle.frequency > kHighest * 1.001)
            continue;
        const QPointF place = placeOf({handle.frequency, std::clamp(handle.gainDB, mBottomDB, mTopDB)});
        const bool isChosen = static_cast<int>(i) == mChosen;
        const QColor color = !handle.isOn ? theme.grid : isChosen ? highlight : theme.waveform;
        const double radius = static_cast<int>(i) == mHovered ? kRadius + 1.5 : kRadius;
        painter.setPen(QPen(color, 2));
        painter.setBrush(isChosen && handle.isOn ? highlight : theme.lane);
        painter.drawEllipse(place, radius, radius);
    }
    painter.setPen(theme.secondaryText);
    painter.drawText(inner.adjusted(8, 5, -8, -5), Qt::AlignRight | Qt::AlignTop, chosenText());
}

} // namespace velloria
