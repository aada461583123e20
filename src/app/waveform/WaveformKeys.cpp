#include "app/waveform/WaveformKeys.h"

#include "app/preferences/Settings.h"
#include "app/waveform/WaveformContext.h"
#include "app/waveform/WaveformWidget.h"

#include <QKeyEvent>
#include <algorithm>
#include <cmath>

namespace velloria
{

WaveformKeys::WaveformKeys(WaveformWidget& widget)
    : mContext(widget.context())
{
}

bool WaveformKeys::press(const QKeyEvent& event)
{
    const bool extends = event.modifiers().testFlag(Qt::ShiftModifier);
    const bool jumps = event.modifiers().testFlag(Qt::ControlModifier);
    // Without Shift the cue moves, else the edge of the selection that is not the anchor.
    const double from = extends ? head() : mContext.cueTime();
    switch (event.key()) {
    case Qt::Key_Left:
    case Qt::Key_Right: {
        const int direction = event.key() == Qt::Key_Left ? -1 : 1;
        const bool isAlt = event.modifiers().testFlag(Qt::AltModifier);
        const double target = isAlt && jumps ? nextZeroCrossing(from, direction)
                              : isAlt        ? nextGridLine(from, direction)
                              : jumps        ? jumpedTime(from, direction)
                                             : steppedTime(from, direction);
        goTo(target, extends);
        return true;
    }
    case Qt::Key_Home:
        goTo(0, extends);
        return true;
    case Qt::Key_End:
        goTo(mContext.subject().totalTime(), extends);
        return true;
    case Qt::Key_PageUp:
    case Qt::Key_PageDown: {
        const double page = mContext.geometry().scrollPageSize();
        mContext.geometry().scrollByPixels(event.key() == Qt::Key_PageUp ? -page : page);
        return true;
    }
    default:
        return false;
    }
}

double WaveformKeys::head() const
{
    const SoundSelection& selection = mContext.selection();
    return mContext.selectionAnchor() == selection.endTime ? selection.startTime : selection.endTime;
}

double WaveformKeys::steppedTime(double from, int direction) const
{
    const WaveformViewGeometry& geometry = mContext.geometry();
    const double pixel = std::round(geometry.pixelsFromSeconds(from)) + direction;
    const double rate = mContext.subject().sampleRate();
    // Frames are the finest that a time can be told in.
    return std::round(geometry.secondsFromPixels(pixel) * rate) / rate;
}

double WaveformKeys::jumpedTime(double from, int direction) const
{
    const SoundSelection& selection = mContext.selection();
    const double rate = mContext.subject().sampleRate();
    std::vector<double> stops = {0, mContext.subject().totalTime(), selection.startTime, selection.endTime};
    const MarkerList markers = mContext.subject().markers();
    for (const AudioMarkerPtr& marker : *markers)
        stops.push_back(marker->secondsWithSampleRate(rate));
    std::sort(stops.begin(), stops.end());
    if (direction > 0) {
        const auto next = std::upper_bound(stops.begin(), stops.end(), from);
        return next == stops.end() ? from : *next;
    }
    const auto next = std::lower_bound(stops.begin(), stops.end(), from);
    return next == stops.begin() ? from : *std::prev(next);
}

double WaveformKeys::nextGridLine(double from, int direction) const
{
    constexpr double tolerance = 1e-9;
    const SnapSettings settings = Settings::snapSettings();
    const double spacing = settings.gridSpacing(mContext.subject().sampleRate());
    const double offset = settings.gridOffset(mContext.subject().sampleRate());
    if (!(spacing > 0.0) || !std::isfinite(spacing) || !std::isfinite(offset))
        return from;
    const double line = (from - offset) / spacing;
    const double next = direction > 0 ? std::floor(line + tolerance) + 1 : std::ceil(line - tolerance) - 1;
    return next * spacing + offset;
}

double WaveformKeys::nextZeroCrossing(double from, int direction) const
{
    // Looks into one short stretch after the other, so that the first one found is near.
    constexpr double reachSeconds = 1.0;
    constexpr int framesPerStretch = 8;
    const double rate = mContext.subject().sampleRate();
    const double half = framesPerStretch / 2.0 / rate;
    const auto numStretches = static_cast<int>(std::ceil(reachSeconds / (2 * half)));
    const int32_t track = std::max(0, mContext.selection().firstTrack);
    const double start = std::round(from * rate) / rate + direction * 0.5 / rate;
    for (int i = 0; i < numStretches; ++i) {
        const double middle = start + direction * (2 * i + 1) * half;
        // A frame more than the stretch: a crossing lies between two of them.
        const double found = mContext.subject().nearestZeroCrossing(half + 1 / rate, middle, track);
        if (found != middle && std::abs(found - from) * rate >= 0.5)
            return found;
    }
    return from;
}

void WaveformKeys::goTo(double time, bool extends)
{
    const double target = mContext.clampedTime(time);
    if (extends) {
        mContext.extendSelectionTo(target);
        if (!mContext.subject().isPlaying())
            mContext.subject().setCueTime(mContext.selection().startTime);
    } else {
        mContext.placeCue(target);
    }
    reveal(target);
}

void WaveformKeys::reveal(double time)
{
    WaveformViewGeometry& geometry = mContext.geometry();
    const double x = geometry.xAtTime(time);
    if (x < 0)
        geometry.scrollByPixels(x - geometry.margin());
    else if (x >= geometry.viewWidth())
        geometry.scrollByPixels(x - geometry.viewWidth() + geometry.margin());
}

} // namespace velloria
