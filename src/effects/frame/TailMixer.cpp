#include "effects/frame/TailMixer.h"

#include <algorithm>

namespace velloria
{

TailMixer::TailMixer(const DocumentSource& source, int64_t numFramesInPlace)
    : mFollowing(source.document())
    , mNumFramesToPass(numFramesInPlace)
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
    if (numPassed == numFrames ||
        !mFollowing.requestDataWithNumFrames(static_cast<uint64_t>(numFrames - numPassed), mData))
        return;
    for (size_t track = 0; track < std::min(block.size(), mData.size()); ++track)
        for (size_t i = 0; i < mData[track].size(); ++i)
            block[track][static_cast<size_t>(numPassed) + i] += mData[track][i];
}

} // namespace velloria
