#include "formats/mpeg/Mp3Saver.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double highestSampleRate = 1e6;

} // namespace

Mp3Saver::Mp3Saver(const FrameSource& document, const SaveRange& range, int64_t bitRate)
    : mOptions(options(document.sampleRate(), range.numTracks, bitRate))
    , mMix(document, range)
    , mFeed(document, range)
{
}

Mp3Encoder::Options Mp3Saver::options(double sampleRate, int64_t numTracks, int64_t bitRate)
{
    return {static_cast<int>(std::lround(std::clamp(sampleRate, 1.0, highestSampleRate))), bitRate,
            numTracks == 1, std::nullopt};
}

MaybeError Mp3Saver::run(FileHandle& file, int64_t offset, Progress& progress)
{
    MaybeError error;
    const auto encoder = Mp3Encoder::create(mOptions, &error);
    if (!encoder)
        return error;
    error = file.writeAt(offset, encoder->infoPacket());
    if (error)
        return error;
    int64_t end = offset + encoder->infoPacket().size();
    const Mp3Encoder::Sink sink = [&file, &end](std::span<const std::byte> bytes) {
        MaybeError failure = file.writeAt(end, bytes);
        end += std::ssize(bytes);
        return failure;
    };
    error = mFeed.run(
        [&](std::span<const float> interleaved) {
            mMix.mix(interleaved);
            return encoder->encode(mMix.left(), mMix.right(), sink);
        },
        progress);
    if (!error)
        error = encoder->finish(sink);
    return error ? error : file.writeAt(offset, encoder->infoPacket());
}

} // namespace velloria
