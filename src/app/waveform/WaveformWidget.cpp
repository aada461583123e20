#include "app/waveform/WaveformWidget.h"

#include "app/preferences/Settings.h"
#include "app/waveform/MarkerColumns.h"
#include "app/waveform/WaveformContext.h"
#include "app/waveform/WaveformKeys.h"
#include "app/waveform/WaveformMouse.h"
#include "platform/UserDefaults.h"

#include <QEvent>
#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kFramesUpdateMilliseconds = 33;
constexpr int kDropTextPointSize = 13;

} // namespace

WaveformWidget::WaveformWidget(WaveformContext& context, QWidget* parent)
    : QWidget(parent)
    , mContext(context)
    , mRaster(context.subject())
    , mSpectrogram(context.subject())
    , mMouse(std::make_unique<WaveformMouse>(*this))
    , mKeys(std::make_unique<WaveformKeys>(*this))
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_AcceptTouchEvents, false);
    //% "Waveform"
    setAccessibleName(qtTrId("waveform-name"));
    //% "Drag to select. Arrow keys move the insertion point, with Shift they change the selection."
    setAccessibleDescription(qtTrId("waveform-description"));
    mFramesTimer.setSingleShot(true);
    mFramesTimer.setInterval(kFramesUpdateMilliseconds);
    connectContext();
}

WaveformWidget::~WaveformWidget() = default;

void WaveformWidget::connectContext()
{
    const auto repaint = [this] { update(); };
    connect(&mContext, &WaveformContext::viewChanged, this, repaint);
    connect(&mContext, &WaveformContext::settingsChanged, this, repaint);
    connect(&mContext, &WaveformContext::themeChanged, this, repaint);
    connect(&mContext, &WaveformContext::markersChanged, this, repaint);
    connect(&mSpectrogram, &SpectrogramRaster::changed, this, repaint);
    connect(&mContext, &WaveformContext::documentReloaded, this, &WaveformWidget::reload);
    connect(&mContext, &WaveformContext::selectionChanged, this, &WaveformWidget::updateSelection);
    connect(&mContext, &WaveformContext::selectionChanged, this, [this] { mMouse->refresh(); });
    connect(&mContext, &WaveformContext::cueChanged, this, [this](double before) {
        updateTimes(before, before);
        updateTimes(mContext.cueTime(), mContext.cueTime());
    });
    connect(&mContext, &WaveformContext::framesChanged, this, &WaveformWidget::updateFrames);
    // A scan reports thousands of short ranges a second; they are drawn together.
    connect(&mFramesTimer, &QTimer::timeout, this, [this] {
        mRaster.invalidateFrames(mChangedBegin, mChangedEnd - mChangedBegin);
        mSpectrogram.framesDidChange(mChangedBegin, mChangedEnd - mChangedBegin);
        const double rate = mContext.subject().sampleRate();
        updateTimes(static_cast<double>(mChangedBegin) / rate, static_cast<double>(mChangedEnd) / rate);
    });
}

LaneLayout WaveformWidget::layoutOfLanes() const
{
    LaneLayout layout;
    layout.height = height();
    layout.numTracks = mContext.subject().numTracks();
    return layout;
}

void WaveformWidget::reload()
{
    mRaster.invalidateAll();
    update();
}

void WaveformWidget::updateFrames(int64_t offset, int64_t length)
{
    const bool isWaiting = mFramesTimer.isActive();
    mChangedBegin = isWaiting ? std::min(mChangedBegin, offset) : offset;
    mChangedEnd = isWaiting ? std::max(mChangedEnd, offset + length) : offset + length;
    if (!isWaiting)
        mFramesTimer.start();
}

QRectF WaveformWidget::rectOfTimes(double start, double end) const
{
    const WaveformViewGeometry& geometry = mContext.geometry();
    // Far outside the view the numbers would not fit a widget's coordinates.
    const double left = std::clamp(geometry.xAtTime(start), -10.0, width() + 10.0);
    const double right = std::clamp(geometry.xAtTime(end), -10.0, width() + 10.0);
    return {left, 0, right - left, static_cast<double>(height())};
}

void WaveformWidget::updateTimes(double start, double end)
{
    update(rectOfTimes(start, end).adjusted(-3, 0, 3, 0).toAlignedRect());
}

void WaveformWidget::updateSelection(const SoundSelection& before)
{
    const SoundSelection& now = mContext.selection();
    if (before.firstTrack != now.firstTrack || before.numTracks != now.numTracks) {
        updateTimes(before.startTime, before.endTime);
        updateTimes(now.startTime, now.endTime);
        return;
    }
    // Only what was added or taken away at either end.
    updateTimes(std::min(before.startTime, now.startTime), std::max(before.startTime, now.startTime));
    updateTimes(std::min(before.endTime, now.endTime), std::max(before.endTime, now.endTime));
}

WaveformRaster::View WaveformWidget::rasterView() const
{
    const double ratio = devicePixelRatioF();
    const WaveformViewGeometry& geometry = mContext.geometry();
    WaveformRaster::View view;
    view.firstColumn = std::llround(geometry.scrollPosition() * ratio);
    view.framesPerColumn = geometry.zoom() / ratio;
    view.numColumns = static_cast<int>(std::ceil(width() * ratio));
    view.layout = layoutOfLanes();
    view.layout.height = std::ceil(height() * ratio);
    view.layout.gap *= ratio;
    view.layout.padding *= ratio;
    view.colors = {mContext.theme().waveform, mContext.theme().waveformPeak};
    view.penWidth = 1.3 * ratio;
    return view;
}

void WaveformWidget::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    const QRect dirty = event->rect();
    paintLanes(painter, dirty);
    if (mContext.showsSpectrogram()) {
        paintSpectrogram(painter);
        paintEditGrid(painter, rectOfTimes(0, mContext.subject().totalTime()) & QRectF(dirty));
        paintSelection(painter);
    } else {
        paintGrid(painter, dirty);
        paintSelection(painter);
        paintSound(painter, dirty);
    }
    paintLines(painter, dirty);
    if (mContext.subject().numFrames() == 0)
        paintEmptyText(painter);
}

void WaveformWidget::paintLanes(QPainter& painter, const QRect& dirty) const
{
    const Theme& theme = mContext.theme();
    painter.fillRect(dirty, theme.outside);
    const QRectF sound = rectOfTimes(0, mContext.subject().totalTime());
    const LaneLayout layout = layoutOfLanes();
    for (int32_t track = 0; track < layout.numTracks; ++track)
        painter.fillRect(QRectF(sound.left(), layout.laneTop(track), sound.width(), layout.laneHeight()),
                         theme.lane);
    for (int32_t track = 1; track < layout.numTracks; ++track)
        painter.fillRect(QRectF(0, layout.laneTop(track) - layout.gap, width(), layout.gap), theme.separator);
}

void WaveformWidget::paintGrid(QPainter& painter, const QRect& dirty) const
{
    const Theme& theme = mContext.theme();
    const WaveformViewGeometry& geometry = mContext.geometry();
    const QRectF sound = rectOfTimes(0, mContext.subject().totalTime());
    const double scroll = geometry.scrollPosition();
    for (const RulerTile& tile :
         mContext.ruler().tilesInRange(scroll + dirty.left(), scroll + dirty.right() + 1)) {
        const double x = std::round(tile.x - scroll);
        if (x >= sound.left() && x < sound.right())
            painter.fillRect(QRectF(x, 0, 1, height()), theme.grid);
    }
    paintEditGrid(painter, sound & QRectF(dirty));
    const LaneLayout layout = layoutOfLanes();
    const QRectF row(sound.left(), 0, sound.width(), 1);
    for (int32_t track = 0; track < layout.numTracks; ++track) {
        painter.fillRect(row.translated(0, std::floor(layout.laneMiddle(track))), theme.axis);
        for (const double level : {0.5, -0.5})
            painter.fillRect(row.translated(0, std::floor(layout.yOfLevel(track, level))), theme.grid);
    }
}

/// The grid that times snap to. Where its lines would be closer than a person could tell apart there are
/// none.
void WaveformWidget::paintEditGrid(QPainter& painter, const QRectF& area) const
{
    if (!UserDefaults::standard().boolValue(Settings::showsGrid) || area.isEmpty())
        return;
    constexpr double closestLines = 4;
    const SnapSettings settings = Settings::snapSettings();
    const double rate = mContext.subject().sampleRate();
    const double spacing = settings.gridSpacing(rate);
    const double offset = settings.gridOffset(rate);
    const WaveformViewGeometry& geometry = mContext.geometry();
    if (!(spacing > 0.0) || !std::isfinite(offset) || geometry.pixelsFromSeconds(spacing) < closestLines)
        return;
    QColor color = mContext.theme().selectionEdge;
    color.setAlpha(90);
    for (double line = std::ceil((geometry.timeAtX(area.left()) - offset) / spacing);; line += 1) {
        const double x = std::round(geometry.xAtTime(line * spacing + offset));
        if (x > area.right())
            break;
        painter.fillRect(QRectF(x, 0, 1, height()), color);
    }
}

void WaveformWidget::paintSelection(QPainter& painter) const
{
    const SoundSelection& selection = mContext.selection();
    if (selection.endTime <= selection.startTime || selection.numTracks < 1)
        return;
    const QRectF times = rectOfTimes(selection.startTime, selection.endTime);
    const LaneLayout layout = layoutOfLanes();
    const int32_t last = std::min(selection.firstTrack + selection.numTracks, layout.numTracks) - 1;
    const double top = layout.laneTop(selection.firstTrack);
    const double left = std::round(times.left());
    const double right = std::max(left + 1, std::round(times.right()));
    const QRectF rect(left, top, right - left, layout.laneBottom(last) - top);
    painter.fillRect(rect, mContext.theme().selection);
    painter.fillRect(QRectF(rect.left(), top, 1, rect.height()), mContext.theme().selectionEdge);
    painter.fillRect(QRectF(rect.right() - 1, top, 1, rect.height()), mContext.theme().selectionEdge);
}

void WaveformWidget::paintSound(QPainter& painter, const QRect& dirty)
{
    const double ratio = devicePixelRatioF();
    const QImage& image = mRaster.imageOf(rasterView());
    const QRect source =
        QRectF(dirty.x() * ratio, dirty.y() * ratio, dirty.width() * ratio, dirty.height() * ratio)
            .toAlignedRect() &
        image.rect();
    painter.drawImage(
        QRectF(source.x() / ratio, source.y() / ratio, source.width() / ratio, source.height() / ratio),
        image, source);
}

void WaveformWidget::paintSpectrogram(QPainter& painter)
{
    const WaveformRaster::View raster = rasterView();
    SpectrogramRaster::View view;
    view.firstColumn = raster.firstColumn;
    view.framesPerColumn = raster.framesPerColumn;
    view.numColumns = raster.numColumns;
    view.layout = raster.layout;
    view.devicePixelRatio = devicePixelRatioF();
    view.isDark = mContext.theme().isDark;
    view.axis = mContext.frequencyAxis();
    mSpectrogram.paint(painter, view);
}

void WaveformWidget::paintLines(QPainter& painter, const QRect& dirty) const
{
    const Theme& theme = mContext.theme();
    const WaveformViewGeometry& geometry = mContext.geometry();
    QColor markerColor = theme.marker;
    markerColor.setAlpha(150);
    const MarkerList markers = mContext.subject().markers();
    paintMarkerLines(painter, markersByPixel(*markers, geometry, dirty.left() - 1, dirty.right() + 1),
                     QRect(dirty.left() - 1, 0, dirty.width() + 2, height()), markerColor);
    const double cue = std::round(geometry.xAtTime(mContext.cueTime()));
    if (cue >= dirty.left() - 1 && cue <= dirty.right() + 1)
        painter.fillRect(QRectF(cue, 0, 1, height()), theme.cue);
}

void WaveformWidget::paintEmptyText(QPainter& painter) const
{
    QFont font = painter.font();
    font.setPointSize(kDropTextPointSize);
    painter.setFont(font);
    painter.setPen(mContext.theme().secondaryText);
    //% "Drop a sound file here, or choose File > Open"
    painter.drawText(rect(), Qt::AlignCenter, qtTrId("waveform-empty"));
}

bool WaveformWidget::event(QEvent* event)
{
    if (event->type() == QEvent::NativeGesture &&
        mMouse->nativeGesture(*static_cast<QNativeGestureEvent*>(event)))
        return true;
    return QWidget::event(event);
}

void WaveformWidget::resizeEvent(QResizeEvent*)
{
    mContext.setViewWidth(width());
}

void WaveformWidget::mousePressEvent(QMouseEvent* event)
{
    mMouse->press(*event);
}

void WaveformWidget::mouseMoveEvent(QMouseEvent* event)
{
    mMouse->move(*event);
}

void WaveformWidget::mouseReleaseEvent(QMouseEvent* event)
{
    mMouse->release(*event);
}

void WaveformWidget::mouseDoubleClickEvent(QMouseEvent* event)
{
    mMouse->doubleClick(*event);
}

void WaveformWidget::leaveEvent(QEvent*)
{
    mMouse->leave();
}

void WaveformWidget::wheelEvent(QWheelEvent* event)
{
    mMouse->wheel(*event);
}

void WaveformWidget::keyPressEvent(QKeyEvent* event)
{
    if (!mKeys->press(*event))
        QWidget::keyPressEvent(event);
}

} // namespace velloria
