#include "document/clips/ComputedSound.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace velloria::ComputedSound
{

namespace
{

// Magnitudes are in the order of their bits; NaN lies beyond infinity.
static_assert(std::numeric_limits<float>::is_iec559);
constexpr uint32_t kOne = std::bit_cast<uint32_t>(1.0F);
constexpr uint32_t kInfinity = std::bit_cast<uint32_t>(std::numeric_limits<float>::infinity());

uint32_t magnitudeBits(float sample)
{
    return std::bit_cast<uint32_t>(sample) & 0x7FFFFFFFU;
}

} // namespace

bool isFromLossySound(const AudioTrack& track, int64_t offset, int64_t length)
{
    bool isLossy = false;
    track.clipsAtOffset(offset, length).forEachFrom(0, [&isLossy](const AudioClipPtr& clip, int64_t) {
        isLossy = clip->storedSamples().isLossy;
        return !isLossy;
    });
    return isLossy;
}

bool isFromLossySound(std::span<const AudioTrackPtr> tracks)
{
    return std::any_of(tracks.begin(), tracks.end(), [](const AudioTrackPtr& track) {
        return isFromLossySound(*track, 0, track->length());
    });
}

// Both in integers and without a way out, so that the compiler makes vectors of them.
bool areFinite(std::span<const float> samples)
{
    uint32_t numWrong = 0;
    for (const float sample : samples)
        numWrong += magnitudeBits(sample) >= kInfinity ? 1 : 0;
    return numWrong == 0;
}

bool exceedFullScale(std::span<const float> samples)
{
    uint32_t numLoud = 0;
    for (const float sample : samples)
        numLoud += magnitudeBits(sample) > kOne && magnitudeBits(sample) <= kInfinity ? 1 : 0;
    return numLoud > 0;
}

Error notFinite()
{
    return {Error::Code::failed,
            QStringLiteral("The result holds samples that are infinite or no numbers; nothing was changed.")};
}

} // namespace velloria::ComputedSound
