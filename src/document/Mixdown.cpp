#include "document/Mixdown.h"

#include "document/clips/ClipWriter.h"
#include "document/clips/ComputedSound.h"
#include "document/clips/SourceWatch.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr int64_t kFramesPerBlock = 16384;

/// Fills one buffer a new track with the frames from an offset on.
using MixBlock = std::function<void(int64_t offset, ClipWriter::Block& block)>;

std::vector<AudioTrackPtr> mixed(const FrameSource& document, int32_t numTracks, const MixBlock& mixBlock,
                                 Progress& progress, MaybeError* error)
{
    const int64_t numFrames = document.numberOfFrames();
    const SourceWatch watch(*document.audioTracks());
    ClipWriter writer(numTracks, document.sampleRate());
    writer.setComputed(ComputedSound::samplesFrom(*document.audioTracks()));
    ClipWriter::Block block(static_cast<size_t>(numTracks));
    MaybeError failure = ComputedSound::lackOfRoom(numFrames, numTracks);
    for (int64_t done = 0; done < numFrames && !failure;) {
        const int64_t count = std::min(numFrames - done, kFramesPerBlock);
        for (FloatBuffer& samples : block)
            samples.assign(static_cast<size_t>(count), 0.0F);
        mixBlock(done, block);
        failure = writer.append(block);
        done += count;
        progress.setProgressValue(static_cast<double>(done) / static_cast<double>(numFrames));
        if (progress.isCancelled())
            break;
    }
    if (!failure)
        failure = writer.finish();
    if (!failure)
        failure = watch.error();
    if (failure) {
        if (error)
            *error = failure;
        return {};
    }
    std::vector<AudioTrackPtr> tracks;
    for (const AudioClipPtr clip : writer.clips())
        tracks.push_back(std::make_shared<AudioTrack>(clip->numFrames() > 0 ? ClipList(clip) : ClipList()));
    return tracks;
}

} // namespace

std::vector<AudioTrackPtr> Mixdown::toMono(const FrameSource& document, Progress& progress, MaybeError* error)
{
    const TrackList tracks = document.audioTracks();
    FloatBuffer samples;
    const auto mixBlock = [&](int64_t offset, ClipWriter::Block& block) {
        FloatBuffer& sum = block.front();
        samples.resize(sum.size());
        for (const AudioTrackPtr& track : *tracks) {
            track->readSamples(offset, samples);
            const auto gain = static_cast<float>(track->scalarVolume() * 0.5);
            for (size_t i = 0; i < sum.size(); ++i)
                sum[i] += samples[i] * gain;
        }
    };
    return mixed(document, 1, mixBlock, progress, error);
}

std::vector<AudioTrackPtr> Mixdown::toStereo(const FrameSource& document, Progress& progress,
                                             MaybeError* error)
{
    const auto mixBlock = [&document](int64_t offset, ClipWriter::Block& block) {
        const FloatBuffer stereo = document.stereoDataAtOffset(offset, std::ssize(block.front()));
        for (size_t i = 0; i < stereo.size() / 2; ++i) {
            block[0][i] = stereo[2 * i];
            block[1][i] = stereo[2 * i + 1];
        }
    };
    std::vector<AudioTrackPtr> tracks = mixed(document, 2, mixBlock, progress, error);
    if (tracks.size() == 2) {
        tracks[0]->setPan(-1.0);
        tracks[1]->setPan(1.0);
    }
    return tracks;
}

} // namespace velloria
