#pragma once

#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>

namespace velloria
{

/// Which frames of the document went into a ring, in order: tells the document frame of any frame of the
/// ring, also across loops and cue moves, where the ring's own stamps are only near. Any ordinary thread.
class PlaybackHistory
{
public:
    /// The next `numFrames` frames of the ring are the document's from `documentFrame` on. Forgets what lies
    /// more than `numKept` frames before them.
    void append(int64_t documentFrame, int64_t numFrames, int64_t numKept);

    /// Those from this number on were dropped from the ring and never heard; others take their numbers.
    void truncate(int64_t ringFrame);

    /// Of the frame with this number, counted from the first that ever went in; that of the next frame to
    /// come for the one just behind the last. Nothing when it was forgotten or is yet to come.
    std::optional<int64_t> documentFrameAt(int64_t ringFrame) const;

private:
    struct Run {
        int64_t ringFrame;
        int64_t documentFrame;
        int64_t numFrames;
    };
    mutable std::mutex mMutex;
    std::deque<Run> mRuns;
    int64_t mNumFrames = 0;
};

} // namespace velloria
