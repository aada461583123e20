#include "app/waveform/OverviewStrip.h"

#include "app/waveform/TrackPainter.h"
#include "app/waveform/WaveformContext.h"

#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kImageUpdateMilliseconds = 150;
constexpr double kEdgeReach = 4;
constexpr double kMinFrameWidth = 6;
constexpr double kPadding = 4;

/// All tracks in one: the smallest and the largest of them.
FloatBuffer combined(WaveformSubject& subject, int64_t numColumns)
{
    FloatBuffer all;
    for (int32_t track = 0; track < subject.numTracks(); ++track) {
        FloatBuffer pairs = subject.overviewColumns(numColumns, track);
        pairs.resize(static_cast<size_t>(2 * numColumns), 0.0F);
        if (track == 0) {
            all = std::move(pairs);
            continue;
        }
        for (size_t i = 0; i < all.size(); i += 2) {
            const bool isEmpty = pairs[i] > pairs[i + 1];
            const bool wasEmpty = all[i] > all[i + 1];
            if (isEmpty)
                continue;
            all[i] = wasEmpty ? pairs[i] : std::min(all[i], pairs[i]);
            all[i + 1] = wasEmpty ? pairs[i + 1] : std::max(all[i + 1], pairs[i + 1]);
        }
    }
    return all;
}

} // namespace

OverviewStrip::OverviewStrip(WaveformContext& context, QWidget* parent)
    : QWidget(parent)
    , mContext(context)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    //% "Overview"
    setAccessibleName(qtTrId("overview-name"));
    mImageTimer.setSingleShot(true);
    mImageTimer.setInterval(kImageUpdateMilliseconds);
    const auto repaint = [this] { update(); };
    const auto redraw = [this] {
        mIsImageStale = true;
        update();
    };
    connect(&mImageTimer, &QTimer::timeout, this, redraw);
    connect(&mContext, &WaveformContext::viewChanged, this, repaint);
    connect(&mContext, &WaveformContext::selectionChanged, this, repaint);
    // Only where the line was and where it is: this comes with every frame while something plays.
    connect(&mContext, &WaveformContext::cueChanged, this, [this](double before) {
        for (const double time : {before, mContext.cueTime()})
            update(static_cast<int>(std::floor(xOfTime(time))) - 1, 0, 4, height());
    });
    connect(&mContext, &WaveformContext::themeChanged, this, redraw);
    connect(&mContext, &WaveformContext::documentReloaded, this, redraw);
    connect(&mContext, &WaveformContext::framesChanged, this, [this] {
        if (!mImageTimer.isActive())
            mImageTimer.start();
    });
}

double OverviewStrip::xOfTime(double time) const
{
    const double total = mContext.subject().totalTime();
    return total > 0 ? time / total * width() : 0;
}

double OverviewStrip::timeOfX(double x) const
{
    return x / std::max(1, width()) * mContext.subject().totalTime();
}

QRectF OverviewStrip::frameRect() const
{
    const WaveformViewGeometry& geometry = mContext.geometry();
    const double left = std::clamp(xOfTime(geometry.revealedStartTime()), 0.0, static_cast<double>(width()));
    const double right = std::clamp(xOfTime(geometry.revealedEndTime()), left, static_cast<double>(width()));
    const double missing = std::max(0.0, kMinFrameWidth - (right - left));
    const double start = std::clamp(left - missing / 2, 0.0, width() - kMinFrameWidth);
    return {start, 0, right - left + missing, static_cast<double>(height())};
}

void OverviewStrip::resizeEvent(QResizeEvent*)
{
    // The old picture is stretched until the new one is made.
    mImageTimer.start();
}

void OverviewStrip::updateImage()
{
    mIsImageStale = false;
    const double ratio = devicePixelRatioF();
    const int numColumns = static_cast<int>(std::ceil(width() * ratio));
    mImage = QImage(numColumns, static_cast<int>(std::ceil(height() * ratio)),
                    QImage::Format_ARGB32_Premultiplied);
    mImage.fill(Qt::transparent);
    if (mContext.subject().numFrames() == 0 || numColumns < 1)
        return;
    FloatBuffer pairs = {1.0F, -1.0F};
    const FloatBuffer all = combined(mContext.subject(), numColumns);
    pairs.insert(pairs.end(), all.begin(), all.end());
    const TrackPainter::Lane lane =
        TrackPainter::laneBetween(0, mImage.height(), mImage.height() / 2.0 - kPadding * ratio);
    TrackPainter::drawColumns(mImage, lane, 0, pairs,
                              {mContext.theme().waveform, mContext.theme().waveformPeak});
}

void OverviewStrip::paintEvent(QPaintEvent* event)
{
    const Theme& theme = mContext.theme();
    QPainter painter(this);
    if (mIsImageStale || mImage.isNull())
        updateImage();
    painter.fillRect(rect(), mContext.subject().numFrames() > 0 ? theme.lane : theme.outside);
    const SoundSelection& selection = mContext.selection();
    if (selection.endTime > selection.startTime) {
        const double left = xOfTime(selection.startTime);
        const double selectedWidth = std::max(1.0, xOfTime(selection.endTime) - left);
        painter.fillRect(QRectF(left, 0, selectedWidth, height()), theme.selection);
    }
    paintSound(painter, event->rect());
    if (mContext.subject().numFrames() > 0) {
        paintFrame(painter);
        painter.fillRect(QRectF(std::round(xOfTime(mContext.cueTime())), 0, 1, height()), theme.cue);
    }
    painter.fillRect(QRect(0, height() - 1, width(), 1), theme.separator);
}

void OverviewStrip::paintSound(QPainter& painter, const QRect& dirty) const
{
    // The picture may be stretched, until the one for the present width is made.
    const double xScale = static_cast<double>(mImage.width()) / std::max(1, width());
    const double yScale = static_cast<double>(mImage.height()) / std::max(1, height());
    painter.drawImage(
        QRectF(dirty), mImage,
        QRectF(dirty.x() * xScale, dirty.y() * yScale, dirty.width() * xScale, dirty.height() * yScale));
}

void OverviewStrip::paintFrame(QPainter& painter) const
{
    if (mContext.isFitted())
        return;
    const Theme& theme = mContext.theme();
    const QRectF frame = frameRect();
    painter.fillRect(QRectF(0, 0, frame.left(), height()), theme.shade);
    painter.fillRect(QRectF(frame.right(), 0, width() - frame.right(), height()), theme.shade);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(theme.frame, 1.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(frame.adjusted(0.75, 0.75, -0.75, -1.75), 3, 3);
    painter.setRenderHint(QPainter::Antialiasing, false);
}

OverviewStrip::Part OverviewStrip::partAt(double x) const
{
    const QRectF frame = frameRect();
    const bool canZoom = frame.width() > 4 * kEdgeReach && !mContext.isFitted();
    if (canZoom && std::abs(x - frame.left()) <= kEdgeReach)
        return Part::leftEdge;
    if (canZoom && std::abs(x - frame.right()) <= kEdgeReach)
        return Part::rightEdge;
    return x >= frame.left() && x <= frame.right() ? Part::frame : Part::none;
}

void OverviewStrip::showCursorFor(Part part)
{
    if (part == Part::leftEdge || part == Part::rightEdge)
        setCursor(Qt::SizeHorCursor);
    else if (part == Part::frame && !mContext.isFitted())
        setCursor(mDragged == Part::frame ? Qt::ClosedHandCursor : Qt::OpenHandCursor);
    else
        unsetCursor();
}

void OverviewStrip::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || mContext.subject().numFrames() == 0)
        return;
    const double x = event->position().x();
    mDragged = partAt(x);
    if (mDragged == Part::none) {
        mContext.geometry().centerViewOnTime(timeOfX(x));
        mDragged = Part::frame;
    }
    mDragOffset = x - xOfTime(mContext.geometry().revealedStartTime());
    showCursorFor(mDragged);
}

void OverviewStrip::dragTo(double x)
{
    WaveformViewGeometry& geometry = mContext.geometry();
    const double time = mContext.clampedTime(timeOfX(x));
    const double minimum = geometry.viewWidth() * WaveformViewGeometry::kMinZoom / geometry.sampleRate();
    if (mDragged == Part::frame)
        geometry.setRevealedStart(timeOfX(x - mDragOffset));
    else if (mDragged == Part::leftEdge)
        geometry.setRevealedStart(std::min(time, geometry.revealedEndTime() - minimum),
                                  geometry.revealedEndTime());
    else if (mDragged == Part::rightEdge)
        geometry.setRevealedStart(geometry.revealedStartTime(),
                                  std::max(time, geometry.revealedStartTime() + minimum));
}

void OverviewStrip::mouseMoveEvent(QMouseEvent* event)
{
    if (mDragged == Part::none)
        showCursorFor(partAt(event->position().x()));
    else
        dragTo(event->position().x());
}

void OverviewStrip::mouseReleaseEvent(QMouseEvent* event)
{
    mDragged = Part::none;
    showCursorFor(partAt(event->position().x()));
}

void OverviewStrip::wheelEvent(QWheelEvent* event)
{
    if (!event->modifiers().testFlag(Qt::ControlModifier)) {
        event->ignore();
        return;
    }
    WaveformViewGeometry& geometry = mContext.geometry();
    const double time = timeOfX(event->position().x());
    const double factor = std::exp2(-event->angleDelta().y() / 240.0);
    geometry.setZoomKeepingTime(geometry.zoom() * factor, time, geometry.xAtTime(time));
    event->accept();
}

} // namespace velloria
