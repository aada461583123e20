#pragma once

#include "Classes/CoreAudio/PeakHolder.h"

#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>

namespace velloria
{

/// How loud a stretch of a preview is, as it is heard: largest absolute samples and a smallest gain.
struct PreviewLevels {
    PeakHolder::Peaks input;  ///< before the effect
    PeakHolder::Peaks output; ///< what leaves for the device
    float lowestGain = 1.0F;

    /// Of both stretches.
    void merge(const PreviewLevels& other);
};

/// Carries levels from where a preview computes them, a little ahead, to who shows them when they are heard.
/// Any thread.
class PreviewLevelQueue
{
public:
    /// Of the next frames, which are the document's from `documentFrame` on.
    void append(int64_t documentFrame, int64_t numFrames, const PreviewLevels& levels);

    /// Of all frames up to the one that is heard, but for those that were taken before; nothing when that one
    /// is not known. In a loop the nearest of its turns counts.
    std::optional<PreviewLevels> takeUntil(int64_t heardFrame);

    void clear();

private:
    struct Stretch {
        int64_t documentFrame;
        int64_t numFrames;
        PreviewLevels levels;
    };
    std::mutex mMutex;
    std::deque<Stretch> mStretches;
};

} // namespace velloria
