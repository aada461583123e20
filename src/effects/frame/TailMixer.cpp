#include "effects/frame/TailMixer.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velloria
{

TailMixer::TailMixer(const DocumentSource& source, int64_t numFramesInPlace, int64_t numFramesRinging,
                     int64_t numFramesOfFade)
    : mFollowing(source.document())
    , mNumFramesToPass(numFramesInPlace)
    , mNumFramesToRing(numFramesRinging)
    , mNumFramesOfFade(numFramesOfFade)
{
    mFollowing.setFirstTrack(source.firstTrack());
    mFollowing.setNumTracks(source.numTracks());
    mFollowing.setMark(source.loopStart() + source.selectionNumFrames());
}

void TailMixer::process(SampleBlock& block)
{
    const auto numFrames = static_cast<int64_t>(block.front().size());
    const int64_t numPassed = std::min(numFrames, mNumFramesToPass);
    mNumFramesToPass -= numPassed;
    if (numPassed < numFrames)
        fadeOut(block, numPassed);
    if (numPassed == numFrames ||
        !mFollowing.requestDataWithNumFrames(static_cast<uint64_t>(numFrames - numPassed), mData))
        return;
    for (size_t track = 0; track < std::min(block.size(), mData.size()); ++track)
        for (size_t i = 0; i < mData[track].size(); ++i)
            block[track][static_cast<size_t>(numPassed) + i] += mData[track][i];
}

/// A raised cosine down to nothing at the end, over what rings in a block from `start` on.
void TailMixer::fadeOut(SampleBlock& block, int64_t start)
{
    const auto numFrames = static_cast<int64_t>(block.front().size());
    for (int64_t i = start; i < numFrames; ++i) {
        const int64_t toGo = std::max<int64_t>(0, mNumFramesToRing - (i - start) - 1);
        if (toGo >= mNumFramesOfFade)
            continue;
        const double position = static_cast<double>(toGo) / static_cast<double>(mNumFramesOfFade);
        const auto gain = static_cast<float>(0.5 - 0.5 * std::cos(std::numbers::pi * position));
        for (FloatBuffer& track : block)
            track[static_cast<size_t>(i)] *= gain;
    }
    mNumFramesToRing -= numFrames - start;
}

} // namespace velloria
