#pragma once

#include "controllers/CueFollower.h"
#include "controllers/SelectionModel.h"

#include <QTimer>
#include <functional>

namespace velloria
{

/// Moves the cue of a window to what is heard or recorded, 60 (recording: 30) times a second, and the main
/// view after it. Without a view nobody sees the cue, and nothing runs. Main thread.
class CueTimer
{
public:
    CueTimer(SoundDocument& document, SelectionModel& selection, DisplayHost& host);

    /// Does nothing new while it runs already, but that the view follows again.
    void startCueTimers();
    void stopCueTimers() { mCueMainTimer.stop(); }

    /// Called after each move of the cue while something plays.
    void setPlayingHandler(std::function<void()> handler) { mPlayingHandler = std::move(handler); }
    /// Called after each move of the cue while something is recorded, with the time before.
    void setRecordingHandler(std::function<void(double timeBefore)> handler)
    {
        mRecordingHandler = std::move(handler);
    }

    /// The view scrolled. Where a person did that, it does not follow the cue any more.
    void didScrollHorizontally();
    /// A command scrolls; the view goes on following.
    void scroll(const std::function<void(WaveformViewGeometry&)>& change);

private:
    void cueMainTimerFire();

    SoundDocument& mDocument;
    SelectionModel& mSelection;
    DisplayHost& mHost;
    QTimer mCueMainTimer;
    CueFollower mCueFollower;
    std::function<void()> mPlayingHandler;
    std::function<void(double)> mRecordingHandler;
    bool mIsScrolling = false; ///< by this, not by a person
    double mSeenZoom = 0.0;
    double mSeenScrollPosition = 0.0;
};

} // namespace velloria
