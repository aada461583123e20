#include "document/clips/ComputedSound.h"

#include "platform/FileHandle.h"
#include "platform/ScratchFolder.h"

#include <QLocale>
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

StoredSamples samplesFrom(const StoredSamples& some, const StoredSamples& others)
{
    StoredSamples both;
    both.isLossy = some.isLossy || others.isLossy;
    for (const StoredSamples& each : {some, others}) {
        both.integerBitsBefore =
            std::max({both.integerBitsBefore, each.integerBits(), each.integerBitsBefore});
        both.floatBitsBefore = std::max({both.floatBitsBefore, each.floatBits(), each.floatBitsBefore});
    }
    return both;
}

StoredSamples samplesFrom(const AudioTrack& track, int64_t offset, int64_t length)
{
    StoredSamples samples;
    track.clipsAtOffset(offset, length).forEachFrom(0, [&samples](const AudioClipPtr& clip, int64_t) {
        samples = samplesFrom(samples, clip->storedSamples());
        return true;
    });
    return samples;
}

StoredSamples samplesFrom(std::span<const AudioTrackPtr> tracks)
{
    StoredSamples samples;
    for (const AudioTrackPtr& track : tracks)
        samples = samplesFrom(samples, samplesFrom(*track, 0, track->length()));
    return samples;
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

/// Silence of any length costs nothing until something is done with it; that should not fill the disk first.
MaybeError lackOfRoom(int64_t numFrames, int64_t numTracks)
{
    const int64_t frameBytes = std::max<int64_t>(1, numTracks) * static_cast<int64_t>(sizeof(float));
    if (numFrames <= ScratchFolder::numBytesFree() / frameBytes)
        return std::nullopt;
    return Error{
        Error::Code::writeFailed,
        QStringLiteral("The disk has no room for the result, which takes %1 in the folder %2.")
            .arg(QLocale::c().formattedDataSize(numFrames < std::numeric_limits<int64_t>::max() / frameBytes
                                                    ? frameBytes * numFrames
                                                    : std::numeric_limits<int64_t>::max()),
                 displayPath(ScratchFolder::path()))};
}

Error notFinite()
{
    return {Error::Code::failed,
            QStringLiteral("The result holds samples that are infinite or no numbers; nothing was changed.")};
}

} // namespace velloria::ComputedSound
