#include "formats/mpeg/Mp3Saver.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double highestSampleRate = 1e6;

/// How much of each track of the range goes to the left and right. A single one fills both, wherever in the
/// document it is heard.
std::vector<AudioTrack::StereoGains> gainsOf(const FrameSource& document, const SaveRange& range)
{
    std::vector<AudioTrack::StereoGains> gains;
    const TrackList tracks = document.audioTracks();
    for (int32_t i = 0; i < range.numTracks; ++i) {
        const AudioTrack& track = *(*tracks)[static_cast<size_t>(range.firstTrack) + static_cast<size_t>(i)];
        const auto volume = static_cast<float>(track.scalarVolume());
        gains.push_back(range.numTracks == 1 ? AudioTrack::StereoGains{volume, volume} : track.stereoGains());
    }
    return gains;
}

} // namespace

Mp3Saver::Mp3Saver(const FrameSource& document, const SaveRange& range, int64_t bitRate)
    : mOptions(options(document.sampleRate(), range.numTracks, bitRate))
    , mGains(gainsOf(document, range))
    , mFeed(document, range)
{
}

Mp3Encoder::Options Mp3Saver::options(double sampleRate, int64_t numTracks, int64_t bitRate)
{
    return {static_cast<int>(std::lround(std::clamp(sampleRate, 1.0, highestSampleRate))), bitRate,
            numTracks == 1};
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
            mixToStereo(interleaved);
            return encoder->encode(mLeft, mRight, sink);
        },
        progress);
    if (!error)
        error = encoder->finish(sink);
    return error ? error : file.writeAt(offset, encoder->infoPacket());
}

void Mp3Saver::mixToStereo(std::span<const float> interleaved)
{
    const size_t numTracks = mGains.size();
    const size_t numFrames = interleaved.size() / numTracks;
    mLeft.assign(numFrames, 0.0F);
    mRight.assign(numFrames, 0.0F);
    for (size_t t = 0; t < numTracks; ++t) {
        const auto [left, right] = mGains[t];
        for (size_t i = 0; i < numFrames; ++i) {
            const float sample = interleaved[i * numTracks + t];
            mLeft[i] += left * sample;
            mRight[i] += right * sample;
        }
    }
}

} // namespace velloria
