#include "app/waveform/WaveformView.h"

#include "app/preferences/Settings.h"
#include "app/waveform/LevelScale.h"
#include "app/waveform/MarkerLane.h"
#include "app/waveform/OverviewStrip.h"
#include "app/waveform/RulerWidget.h"
#include "app/waveform/WaveformWidget.h"
#include "platform/UserDefaults.h"

#include <QCoreApplication>
#include <QEvent>
#include <QGridLayout>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kMaxScrollBarRange = 1 << 30;

} // namespace

WaveformView::WaveformView(WaveformSubject& subject, QWidget* parent)
    : QWidget(parent)
    , mContext(subject)
    , mOverview(new OverviewStrip(mContext, this))
    , mRuler(new RulerWidget(mContext, this))
    , mMarkerLane(new MarkerLane(mContext, this))
    , mLevelScale(new LevelScale(mContext, this))
    , mWaveform(new WaveformWidget(mContext, this))
    , mScrollBar(new QScrollBar(Qt::Horizontal, this))
{
    mContext.setTheme(Theme::fromPalette(palette()));
    layOut();
    setFocusProxy(mWaveform);
    connect(&mContext, &WaveformContext::viewChanged, this, &WaveformView::updateScrollBar);
    connect(&mContext, &WaveformContext::documentReloaded, this, &WaveformView::updateScrollBar);
    connect(&mContext, &WaveformContext::settingsChanged, this, &WaveformView::takeSettings);
    connect(mScrollBar, &QScrollBar::valueChanged, this, [this](int value) {
        if (!mIsUpdatingScrollBar)
            mContext.geometry().setScrollPosition(value * mScrollUnit - mContext.geometry().margin());
    });
    takeSettings();
    updateScrollBar();
}

void WaveformView::layOut()
{
    auto* const grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(0);
    // What stands left of the ruler continues the scale below it.
    auto* const corner = new QWidget(this);
    corner->setAutoFillBackground(true);
    grid->addWidget(mOverview, 0, 0, 1, 2);
    grid->addWidget(corner, 1, 0, 2, 1);
    grid->addWidget(mRuler, 1, 1);
    grid->addWidget(mMarkerLane, 2, 1);
    grid->addWidget(mLevelScale, 3, 0);
    grid->addWidget(mWaveform, 3, 1);
    grid->addWidget(mScrollBar, 4, 0, 1, 2);
    grid->setRowStretch(3, 1);
    grid->setColumnStretch(1, 1);
    //% "Scroll position"
    mScrollBar->setAccessibleName(qtTrId("scroll-bar-name"));
}

void WaveformView::takeSettings()
{
    mOverview->setVisible(UserDefaults::standard().boolValue(Settings::showsOverview));
}

void WaveformView::updateScrollBar()
{
    const WaveformViewGeometry& geometry = mContext.geometry();
    const double whole = geometry.pixelsFromSeconds(geometry.totalTime()) + 2 * geometry.margin();
    const double range = std::max(0.0, std::ceil(whole - geometry.viewWidth()));
    mScrollUnit = std::max(1.0, range / kMaxScrollBarRange);
    mIsUpdatingScrollBar = true;
    mScrollBar->setRange(0, static_cast<int>(range / mScrollUnit));
    mScrollBar->setPageStep(std::max(1, static_cast<int>(geometry.viewWidth() / mScrollUnit)));
    mScrollBar->setSingleStep(std::max(1, static_cast<int>(geometry.scrollLineSize() / mScrollUnit)));
    mScrollBar->setValue(static_cast<int>((geometry.scrollPosition() + geometry.margin()) / mScrollUnit));
    mIsUpdatingScrollBar = false;
}

void WaveformView::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange)
        mContext.setTheme(Theme::fromPalette(palette()));
    QWidget::changeEvent(event);
}

void WaveformView::wheelEvent(QWheelEvent* event)
{
    // A wheel over the ruler or a scale means the same as over the tracks.
    const QPointF position = mWaveform->mapFromGlobal(event->globalPosition());
    QWheelEvent forwarded(position, event->globalPosition(), event->pixelDelta(), event->angleDelta(),
                          event->buttons(), event->modifiers(), event->phase(), event->inverted());
    QCoreApplication::sendEvent(mWaveform, &forwarded);
    event->accept();
}

} // namespace velloria
