#include "Classes/CoreAudio/PlaybackHistory.h"

#include <algorithm>

namespace velloria
{

void PlaybackHistory::append(int64_t documentFrame, int64_t numFrames, int64_t numKept)
{
    const std::lock_guard lock(mMutex);
    const bool goesOn =
        !mRuns.empty() && mRuns.back().documentFrame + mRuns.back().numFrames == documentFrame;
    if (goesOn)
        mRuns.back().numFrames += numFrames;
    else
        mRuns.push_back({mNumFrames, documentFrame, numFrames});
    mNumFrames += numFrames;
    while (mRuns.size() > 1 && mRuns[1].ringFrame < mNumFrames - numKept)
        mRuns.pop_front();
}

void PlaybackHistory::truncate(int64_t ringFrame)
{
    const std::lock_guard lock(mMutex);
    while (!mRuns.empty() && mRuns.back().ringFrame >= ringFrame)
        mRuns.pop_back();
    if (!mRuns.empty())
        mRuns.back().numFrames = std::min(mRuns.back().numFrames, ringFrame - mRuns.back().ringFrame);
    mNumFrames = std::min(mNumFrames, ringFrame);
}

std::optional<int64_t> PlaybackHistory::documentFrameAt(int64_t ringFrame) const
{
    const std::lock_guard lock(mMutex);
    const auto after = std::upper_bound(mRuns.begin(), mRuns.end(), ringFrame,
                                        [](int64_t frame, const Run& run) { return frame < run.ringFrame; });
    if (after == mRuns.begin() || ringFrame > mNumFrames)
        return std::nullopt;
    const Run& run = *(after - 1);
    return run.documentFrame + (ringFrame - run.ringFrame);
}

} // namespace velloria
