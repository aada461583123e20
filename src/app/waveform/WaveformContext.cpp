#include "app/waveform/WaveformContext.h"

#include "app/preferences/Settings.h"
#include "platform/UserDefaults.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kMargin = 12;
constexpr double kScrollLine = 40;

} // namespace

WaveformContext::WaveformContext(WaveformSubject& subject, QObject* parent)
    : QObject(parent)
    , mSubject(subject)
    , mZoomCommands(mGeometry)
    , mSnapper(mGeometry)
{
    mGeometry.setMargin(kMargin);
    mGeometry.setScrollLineSize(kScrollLine);
    mGeometry.addObserver(this);
    mSnapper.setNearestZeroCrossing([this](double within, double to, int track) {
        return mSubject.nearestZeroCrossing(within, to, track);
    });
    reloadSettings();
    updateGeometry();
    selectionDidChange();
    cueDidChange();
    markersDidChange();
}

WaveformContext::~WaveformContext()
{
    mGeometry.removeObserver(this);
}

void WaveformContext::setTheme(const Theme& theme)
{
    mTheme = theme;
    Q_EMIT themeChanged();
}

double WaveformContext::clampedTime(double time) const
{
    return std::clamp(time, 0.0, mSubject.totalTime());
}

double WaveformContext::snappedTime(double time, int32_t track) const
{
    return clampedTime(mSnapper.applySnapsWithInitialTime(clampedTime(time), std::max(0, track)));
}

double WaveformContext::snappedMarkerTime(double time, const AudioMarkerPtr& marker) const
{
    return clampedTime(mSnapper.applySnapsWithInitialTime(clampedTime(time), 0, marker));
}

double WaveformContext::selectionAnchor() const
{
    // The anchor outlives changes of the selection that did not come from the mouse or the keys.
    if (mAnchor == mSelection.startTime || mAnchor == mSelection.endTime)
        return mAnchor;
    return mSelection.startTime;
}

void WaveformContext::extendSelectionTo(double time)
{
    const double anchor = selectionAnchor();
    const double head = clampedTime(time);
    SoundSelection selection = mSelection;
    if (selection.numTracks < 1) {
        selection.firstTrack = 0;
        selection.numTracks = mSubject.numTracks();
    }
    selection.startTime = std::min(anchor, head);
    selection.endTime = std::max(anchor, head);
    mAnchor = anchor;
    mSubject.setSelection(selection);
}

void WaveformContext::placeCue(double time)
{
    const double target = clampedTime(time);
    mAnchor = target;
    SoundSelection selection = mSelection;
    if (selection.numTracks < 1) {
        selection.firstTrack = 0;
        selection.numTracks = mSubject.numTracks();
    }
    selection.startTime = target;
    selection.endTime = target;
    mSubject.setSelection(selection);
    mSubject.setCueTime(target);
}

void WaveformContext::goTo(double time)
{
    placeCue(time);
    mGeometry.revealSelection();
}

void WaveformContext::setViewWidth(double width)
{
    if (width == mGeometry.viewWidth())
        return;
    const bool wasFitted = mGeometry.viewWidth() > 0 && isFitted();
    mGeometry.setViewWidth(width);
    if (wasFitted)
        mGeometry.fitInWindow();
    mGeometry.constrainRevealed();
    Q_EMIT viewChanged();
}

bool WaveformContext::isFitted() const
{
    const double width = mGeometry.viewWidth() - 2 * mGeometry.margin();
    const double fitZoom = std::clamp(static_cast<double>(mSubject.numFrames()) / std::max(1.0, width),
                                      WaveformViewGeometry::kMinZoom, WaveformViewGeometry::kMaxZoom);
    return std::abs(fitZoom / mGeometry.zoom() - 1) < 1e-6;
}

void WaveformContext::zoomToDefault()
{
    mZoomCommands.zoomToDefault(UserDefaults::standard().integerValue(Settings::defaultZoom));
}

void WaveformContext::documentDidReload()
{
    updateGeometry();
    Q_EMIT documentReloaded();
    selectionDidChange();
    markersDidChange();
}

void WaveformContext::documentDidGrow()
{
    if (mGeometry.totalTime() == mSubject.totalTime())
        return;
    mGeometry.setTotalTime(mSubject.totalTime());
    Q_EMIT viewChanged();
}

void WaveformContext::selectionDidChange()
{
    const SoundSelection before = mSelection;
    mSelection = mSubject.selection();
    mGeometry.setSelection(mSelection.startTime, mSelection.endTime);
    if (before != mSelection)
        Q_EMIT selectionChanged(before);
}

void WaveformContext::cueDidChange()
{
    const double before = mCueTime;
    mCueTime = mSubject.cueTime();
    mGeometry.setCueTime(mCueTime);
    if (before != mCueTime)
        Q_EMIT cueChanged(before);
}

void WaveformContext::markersDidChange()
{
    mSnapper.setMarkers(mSubject.markers());
    Q_EMIT markersChanged();
}

void WaveformContext::framesDidChange(int64_t offset, int64_t length)
{
    Q_EMIT framesChanged(offset, length);
}

void WaveformContext::reloadSettings()
{
    const UserDefaults& defaults = UserDefaults::standard();
    mSnapper.setSettings(Settings::snapSettings());
    mRuler.setUnits(defaults.integerValue(Settings::rulerUnits));
    mShowsDecibels = defaults.boolValue(Settings::levelScaleInDecibels);
    mShowsSpectrogram = defaults.boolValue(Settings::showsSpectrogram);
    mSpectrogramIsLinear = defaults.boolValue(Settings::spectrogramIsLinear);
    Q_EMIT settingsChanged();
}

void WaveformContext::scrolled(WaveformViewGeometry&)
{
    Q_EMIT viewChanged();
}

void WaveformContext::didSetZoom(WaveformViewGeometry&, double)
{
    mRuler.setZoom(mGeometry.zoom());
    Q_EMIT viewChanged();
}

void WaveformContext::updateGeometry()
{
    mGeometry.setSampleRate(mSubject.sampleRate());
    mGeometry.setTotalTime(mSubject.totalTime());
    mRuler.setSampleRate(mSubject.sampleRate());
    mRuler.setZoom(mGeometry.zoom());
    mGeometry.constrainRevealed();
}

} // namespace velloria
