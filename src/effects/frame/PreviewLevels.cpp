#include "effects/frame/PreviewLevels.h"

#include <algorithm>

namespace velloria
{

namespace
{

/// More than any device holds, should nobody look.
constexpr size_t kMostStretches = 2000;

PeakHolder::Peaks larger(const PeakHolder::Peaks& a, const PeakHolder::Peaks& b)
{
    return {std::max(a.leftPeak, b.leftPeak), std::max(a.rightPeak, b.rightPeak)};
}

} // namespace

void PreviewLevels::merge(const PreviewLevels& other)
{
    input = larger(input, other.input);
    output = larger(output, other.output);
    lowestGain = std::min(lowestGain, other.lowestGain);
}

void PreviewLevelQueue::append(int64_t documentFrame, int64_t numFrames, const PreviewLevels& levels)
{
    const std::lock_guard lock(mMutex);
    mStretches.push_back({documentFrame, numFrames, levels});
    if (mStretches.size() > kMostStretches)
        mStretches.pop_front();
}

std::optional<PreviewLevels> PreviewLevelQueue::takeUntil(int64_t heardFrame)
{
    const std::lock_guard lock(mMutex);
    const auto isHeardIn = [heardFrame](const Stretch& stretch) {
        return heardFrame >= stretch.documentFrame && heardFrame < stretch.documentFrame + stretch.numFrames;
    };
    const auto heard = std::find_if(mStretches.begin(), mStretches.end(), isHeardIn);
    if (heard == mStretches.end())
        return std::nullopt;
    PreviewLevels levels = heard->levels;
    for (auto stretch = mStretches.begin(); stretch != heard; ++stretch)
        levels.merge(stretch->levels);
    // The last one stays: it is still heard the next time somebody looks.
    mStretches.erase(mStretches.begin(), heard);
    return levels;
}

void PreviewLevelQueue::clear()
{
    const std::lock_guard lock(mMutex);
    mStretches.clear();
}

} // namespace velloria
