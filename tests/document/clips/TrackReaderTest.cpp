#include "document/clips/TrackReader.h"

#include "MemorySource.h"

#include <gtest/gtest.h>

namespace velloria
{
namespace
{

/// Counts what is read of it.
class CountingSource : public MemorySource
{
public:
    using MemorySource::MemorySource;
    int64_t readAudioDataAtOffset(int64_t offset, std::span<std::byte> out) const override
    {
        numBytesRead += out.size();
        return MemorySource::readAudioDataAtOffset(offset, out);
    }
    mutable size_t numBytesRead = 0;
};

std::vector<AudioTrackPtr> tracksOf(const std::shared_ptr<const SampleSource>& source, int64_t numFrames)
{
    std::vector<AudioTrackPtr> tracks;
    for (int64_t channel = 0; channel < source->channelCount(); ++channel)
        tracks.push_back(std::make_shared<AudioTrack>(
            ClipList(std::make_shared<AudioClip>(source, 0, numFrames, channel))));
    return tracks;
}

void expectEachTrack(const std::vector<AudioTrackPtr>& tracks, int64_t offset, size_t numFrames)
{
    std::vector<FloatBuffer> buffers(tracks.size(), FloatBuffer(numFrames + 1, 7.0F));
    std::vector<float*> outs;
    for (auto& buffer : buffers)
        outs.push_back(buffer.data());
    TrackReader::readSamples(tracks, offset, outs, numFrames);
    for (size_t i = 0; i < tracks.size(); ++i) {
        EXPECT_EQ(buffers[i].back(), 7.0F);
        buffers[i].pop_back();
        EXPECT_EQ(buffers[i], tracks[i]->sampleDataAtOffset(offset, static_cast<int64_t>(numFrames)))
            << offset;
    }
}

TEST(TrackReader, EqualsReadingEachTrack)
{
    for (const int64_t numChannels : {1, 2, 3}) {
        const auto source = std::make_shared<MemorySource>(
            randomBytes(static_cast<size_t>(2 * numChannels) * 9000, 1), 16, numChannels);
        // The last frames of the clips are missing in the source.
        const auto tracks = tracksOf(source, 9100);
        std::mt19937 engine(2);
        for (int step = 0; step < 200; ++step) {
            const auto offset = static_cast<int64_t>(engine() % 9500) - 200;
            expectEachTrack(tracks, offset, engine() % 3000);
            const auto place = static_cast<int64_t>(engine() % 9000);
            const auto length = static_cast<int64_t>(engine() % 300);
            // Mostly the same edit of all tracks, now and then of one alone.
            const bool all = step < 100 || engine() % 4;
            for (const auto& track : tracks) {
                if (all || track == tracks[0]) {
                    const ClipList clips = track->clipsAtOffset(place, length);
                    track->removeDataAtOffset(place, length);
                    track->insertClips(clips, place / 2);
                }
            }
        }
    }
}

TEST(TrackReader, ReadsTheFileOnceForAllChannels)
{
    const auto source = std::make_shared<CountingSource>(randomBytes(4 * 50'000, 3), 16, 2);
    const auto tracks = tracksOf(source, 50'000);
    FloatBuffer left(40'000);
    FloatBuffer right(40'000);
    float* const outs[] = {left.data(), right.data()};
    TrackReader::readSamples(tracks, 5000, outs, left.size());
    EXPECT_EQ(source->numBytesRead, 4 * left.size());
    EXPECT_EQ(right, tracks[1]->sampleDataAtOffset(5000, 40'000));
}

} // namespace
} // namespace velloria
