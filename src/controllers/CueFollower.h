#pragma once

#include <QString>

namespace velloria
{

class WaveformViewGeometry;

/// Scrolls a waveform view after a moving cue: smoothly, page by page, or not at all, as the preference
/// "scrollWaveform" says; while recording the cue rides the right margin. A person who scrolls ends it until
/// the next start. Main thread.
class CueFollower
{
public:
    /// The values of the preference; others mean not to follow.
    enum Mode { smoothly = 0, byPage = 1, never = 2 };

    static QString preferenceKey() { return QStringLiteral("scrollWaveform"); }
    static void registerDefaults();

    void start(bool isRecording);
    void stop();
    bool isFollowing() const { return mScrollsWaveform; }

    /// The cue went from `before` to `now` (seconds).
    void follow(WaveformViewGeometry& view, double before, double now, bool isRecording);

private:
    void followSmoothly(WaveformViewGeometry& view, bool crossedMargin, double now);

    bool mScrollsWaveform = false;
    bool mIsScrolling = false;
    bool mScrollsByPage = false;
    double mPositionOffset = 0.0; ///< seconds from the view's middle to where the cue was met
    double mPositionTiming = 0.0; ///< from 1 at the right margin to 0 in the middle
};

} // namespace velloria
