#include "document/clips/FrameSource.h"

#include "document/clips/SampleKernels.h"
#include "document/clips/TrackReader.h"
#include "platform/Log.h"

#include <algorithm>

namespace velloria
{

namespace
{

/// The frames of some tracks, one track after the other.
struct Planes {
    Planes(std::span<const AudioTrackPtr> tracks, int64_t offset, size_t numFrames)
        : samples(tracks.size() * numFrames)
    {
        for (size_t i = 0; i < tracks.size(); ++i)
            outs.push_back(samples.data() + i * numFrames);
        TrackReader::readSamples(tracks, offset, outs, numFrames);
    }

    FloatBuffer samples;
    std::vector<float*> outs;
};

} // namespace

FloatBuffer FrameSource::sampleDataAtOffset(int64_t offset, int64_t numFrames, int32_t track) const
{
    const TrackList tracks = audioTracks();
    if (track < 0 || static_cast<size_t>(track) >= tracks->size())
        return {};
    return (*tracks)[static_cast<size_t>(track)]->sampleDataAtOffset(offset, numFrames);
}

FloatBuffer FrameSource::interleavedDataAtOffset(int64_t offset, int64_t numFrames, int32_t firstTrack,
                                                 int32_t numTracks) const
{
    const TrackList tracks = audioTracks();
    const auto trackCount = static_cast<int64_t>(tracks->size());
    if (firstTrack < 0 || numTracks < 0 || int64_t{firstTrack} + numTracks > trackCount) {
        logLine(QStringLiteral("Invalid number of tracks"));
        return {};
    }
    if (numFrames < 1)
        return {};
    const auto used =
        std::span(*tracks).subspan(static_cast<size_t>(firstTrack), static_cast<size_t>(numTracks));
    const Planes planes(used, offset, static_cast<size_t>(numFrames));
    const std::vector<const float*> channels(planes.outs.begin(), planes.outs.end());
    FloatBuffer interleaved(static_cast<size_t>(numFrames) * channels.size());
    SampleKernels::interleave(channels, interleaved.data(), static_cast<size_t>(numFrames));
    return interleaved;
}

FloatBuffer FrameSource::stereoDataAtOffset(int64_t offset, int64_t numFrames) const
{
    const TrackList tracks = audioTracks();
    const auto count = static_cast<size_t>(std::max<int64_t>(0, numFrames));
    const Planes planes(*tracks, offset, count);
    FloatBuffer sum(2 * count);
    for (size_t i = 0; i < tracks->size(); ++i) {
        const AudioTrack::StereoGains gains = (*tracks)[i]->stereoGains();
        SampleKernels::addToStereo(planes.outs[i], gains.left, gains.right, sum.data(), count);
    }
    return sum;
}

} // namespace velloria
