#pragma once

#include "document/clips/FrameSource.h"
#include "formats/saving/SaveLoop.h"

#include <span>
#include <vector>

namespace velloria
{

/// The two channels that LAME is given: a single track fills both, wherever it is heard; several are summed
/// with their pan and volume.
class StereoMix
{
public:
    StereoMix(const FrameSource& document, const SaveRange& range);

    /// Takes a block of the range's tracks, which left() and right() hold until the next one.
    void mix(std::span<const float> interleaved);
    /// A block of silence.
    void setSilence(int64_t numFrames);
    std::span<const float> left() const { return mLeft; }
    std::span<const float> right() const { return mRight; }

private:
    std::vector<AudioTrack::StereoGains> mGains;
    std::vector<float> mLeft;
    std::vector<float> mRight;
};

} // namespace velloria
