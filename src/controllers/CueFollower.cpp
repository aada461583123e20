#include "controllers/CueFollower.h"

#include "display/WaveformViewGeometry.h"
#include "platform/UserDefaults.h"

#include <cmath>
#include <numbers>

namespace velloria
{

namespace
{

// 400 calls from the right margin to the middle.
constexpr double kEasingStep = 0.0025;

} // namespace

void CueFollower::registerDefaults()
{
    UserDefaults::standard().registerDefault(preferenceKey(), static_cast<int>(Mode::smoothly));
}

void CueFollower::start(bool isRecording)
{
    const int mode = UserDefaults::standard().integerValue(preferenceKey());
    mIsScrolling = isRecording;
    mScrollsWaveform = isRecording || mode == Mode::smoothly || mode == Mode::byPage;
    if (!isRecording)
        mScrollsByPage = mode == Mode::byPage;
}

void CueFollower::stop()
{
    mScrollsWaveform = false;
    mIsScrolling = false;
}

void CueFollower::follow(WaveformViewGeometry& view, double before, double now, bool isRecording)
{
    const double margin = view.secondsFromPixels(view.margin());
    const double end = view.revealedEndTime();
    const double width = end - view.revealedStartTime();
    const bool crossedMargin = mScrollsWaveform && before <= end - margin && end - margin <= now;
    if (isRecording) {
        const double start = now - width + margin;
        if (mScrollsWaveform && start > -margin)
            view.setRevealedStart(start);
    } else if (mScrollsByPage) {
        if (crossedMargin)
            view.setRevealedStart(now - margin);
    } else {
        followSmoothly(view, crossedMargin, now);
    }
}

void CueFollower::followSmoothly(WaveformViewGeometry& view, bool crossedMargin, double now)
{
    const double width = view.revealedEndTime() - view.revealedStartTime();
    if (crossedMargin && !mIsScrolling) {
        mIsScrolling = true;
        mPositionTiming = 1.0;
        mPositionOffset = width * 0.5 - view.secondsFromPixels(view.margin());
    }
    if (!mIsScrolling)
        return;
    const double share = 0.5 - 0.5 * std::cos(std::numbers::pi * mPositionTiming);
    view.setRevealedStart(now - width * 0.5 - share * mPositionOffset);
    if (mPositionTiming > 0.0)
        mPositionTiming -= kEasingStep;
}

} // namespace velloria
