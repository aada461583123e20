#include "effects/order/Backwards.h"

#include "document/clips/ClipWriter.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr int64_t kBlockNumFrames = 16384;

} // namespace

bool Backwards::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    for (FloatBuffer& buffer : block)
        std::reverse(buffer.begin(), buffer.end());
    return true;
}

ComputedClip::Function Backwards::outputOfTrack(const AudioTrackPtr& track, size_t) const
{
    const int64_t end = mSource->loopStart() + numFrames();
    return [track, end](int64_t offset, std::span<float> out) {
        track->readSamples(end - offset - static_cast<int64_t>(out.size()), out);
        std::reverse(out.begin(), out.end());
    };
}

MaybeError Backwards::processSelection(ClipWriter& writer, int64_t, int64_t total, int64_t)
{
    const int64_t offset = mSource->loopStart();
    SampleBlock block;
    for (int64_t remaining = total; remaining > 0;) {
        const int64_t count = std::min(remaining, kBlockNumFrames);
        remaining -= count;
        mSource->setMark(offset + remaining);
        // Nothing comes for blocks beyond the document's end, and that end is where reading starts here: go
        // on.
        if (requestDataWithNumFrames(static_cast<uint64_t>(count), block))
            if (MaybeError error = writer.append(block))
                return error;
        if (didReachProgress(total - remaining, total))
            break;
    }
    return std::nullopt;
}

} // namespace velloria
