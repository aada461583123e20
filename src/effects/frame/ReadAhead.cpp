#include "effects/frame/ReadAhead.h"

#include <algorithm>

namespace velloria
{

bool ReadAhead::requestData(DocumentSource& source, uint64_t numFrames, SampleBlock& block)
{
    const int64_t mark = source.mark();
    if (!holds(mark, numFrames) && !fill(source, numFrames)) {
        block.clear();
        return false;
    }
    const int64_t offset = mark - mStart;
    const auto count =
        static_cast<int64_t>(std::min<uint64_t>(numFrames, static_cast<uint64_t>(mNumFrames - offset)));
    block.resize(mData.size());
    for (size_t track = 0; track < block.size(); ++track) {
        const float* first = mData[track].data() + offset;
        block[track].assign(first, first + count);
    }
    source.setMark(mark + count);
    return true;
}

/// Whether the data answer the request as the source would.
bool ReadAhead::holds(int64_t mark, uint64_t numFrames) const
{
    const int64_t offset = mark - mStart;
    if (offset < 0 || offset >= mNumFrames || numFrames == 0)
        return false;
    return mReachesEnd || numFrames <= static_cast<uint64_t>(mNumFrames - offset);
}

bool ReadAhead::fill(DocumentSource& source, uint64_t numFrames)
{
    const uint64_t numAsked = numFrames == 0 ? 0 : std::max(numFrames, numFramesAtOnce);
    mStart = source.mark();
    mNumFrames = 0;
    if (!source.requestDataWithNumFrames(numAsked, mData))
        return false;
    mNumFrames = static_cast<int64_t>(mData.front().size());
    mReachesEnd = static_cast<uint64_t>(mNumFrames) < numAsked;
    return true;
}

} // namespace velloria
