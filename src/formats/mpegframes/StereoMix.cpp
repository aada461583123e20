#include "formats/mpegframes/StereoMix.h"

namespace velloria
{

StereoMix::StereoMix(const FrameSource& document, const SaveRange& range)
{
    const TrackList tracks = document.audioTracks();
    for (int32_t i = 0; i < range.numTracks; ++i) {
        const AudioTrack& track = *(*tracks)[static_cast<size_t>(range.firstTrack) + static_cast<size_t>(i)];
        const auto volume = static_cast<float>(track.scalarVolume());
        mGains.push_back(range.numTracks == 1 ? AudioTrack::StereoGains{volume, volume}
                                              : track.stereoGains());
    }
}

void StereoMix::mix(std::span<const float> interleaved)
{
    const size_t numTracks = mGains.size();
    const size_t numFrames = interleaved.size() / numTracks;
    setSilence(static_cast<int64_t>(numFrames));
    for (size_t t = 0; t < numTracks; ++t) {
        const auto [left, right] = mGains[t];
        for (size_t i = 0; i < numFrames; ++i) {
            const float sample = interleaved[i * numTracks + t];
            mLeft[i] += left * sample;
            mRight[i] += right * sample;
        }
    }
}

void StereoMix::setSilence(int64_t numFrames)
{
    mLeft.assign(static_cast<size_t>(numFrames), 0.0F);
    mRight.assign(static_cast<size_t>(numFrames), 0.0F);
}

} // namespace velloria
