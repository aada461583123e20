#include "document/clips/FrameSource.h"

#include "MemorySource.h"
#include "document/clips/SoundSelection.h"
#include "platform/Log.h"

#include <gtest/gtest.h>
#include <limits>

namespace velloria
{
namespace
{

class Tracks : public FrameSource
{
public:
    explicit Tracks(std::vector<AudioTrackPtr> tracks)
        : mTracks(std::make_shared<const std::vector<AudioTrackPtr>>(std::move(tracks)))
    {
    }
    int64_t numberOfFrames() const override { return 1000; }
    double sampleRate() const override { return 500.0; }
    TrackList audioTracks() const override { return mTracks; }

private:
    TrackList mTracks;
};

/// Three tracks; the samples of track t are t + 1, 2 (t + 1), ... in steps of 2^-10.
Tracks threeTracks()
{
    std::vector<AudioTrackPtr> tracks;
    for (int16_t track = 1; track <= 3; ++track) {
        std::vector<int16_t> samples;
        for (int16_t i = 1; i <= 4; ++i)
            samples.push_back(static_cast<int16_t>(32 * track * i));
        const auto clip = std::make_shared<AudioClip>(MemorySource::of(samples, 1), 0, 4, 0);
        tracks.push_back(std::make_shared<AudioTrack>(ClipList(AudioClipPtr(clip))));
    }
    return Tracks(std::move(tracks));
}

FloatBuffer steps(std::initializer_list<double> values)
{
    FloatBuffer floats;
    for (const double value : values)
        floats.push_back(static_cast<float>(value / 1024));
    return floats;
}

TEST(FrameSource, GivesTheFramesOfOneTrack)
{
    const Tracks source = threeTracks();
    EXPECT_EQ(source.totalTime(), 2.0);
    EXPECT_EQ(source.trackCount(), 3);
    EXPECT_EQ(source.sampleDataAtOffset(2, 3, 1), steps({6, 8, 0}));
    EXPECT_TRUE(source.sampleDataAtOffset(0, 1, 3).empty());
    EXPECT_TRUE(source.sampleDataAtOffset(0, 1, -1).empty());
}

TEST(FrameSource, InterleavesNeighbouringTracks)
{
    const Tracks source = threeTracks();
    EXPECT_EQ(source.interleavedDataAtOffset(-1, 3, 1, 2), steps({0, 0, 2, 3, 4, 6}));
    EXPECT_EQ(source.interleavedDataAtOffset(1, 2, 0, 3), steps({2, 4, 6, 3, 6, 9}));
    LogCapture log;
    EXPECT_TRUE(source.interleavedDataAtOffset(0, 2, 0, 0).empty());
    EXPECT_TRUE(log.logged().isEmpty());
    EXPECT_TRUE(source.interleavedDataAtOffset(0, 2, 2, 2).empty());
    EXPECT_TRUE(source.interleavedDataAtOffset(0, 2, 1, INT32_MAX).empty());
    const QString line = QStringLiteral("Invalid number of tracks");
    EXPECT_EQ(log.logged(), (QStringList{line, line}));
}

TEST(FrameSource, SumsAllTracksWithPanAndVolume)
{
    const Tracks source = threeTracks();
    const TrackList tracks = source.audioTracks();
    (*tracks)[0]->setPan(-1.0);
    (*tracks)[1]->setPan(0.5);
    (*tracks)[2]->setScalarVolume(2.0);
    // Left 1 + 1 + 6, right 0 + 2 + 6, for each step of the samples.
    EXPECT_EQ(source.stereoDataAtOffset(2, 3), steps({24, 24, 32, 32, 0, 0}));
    EXPECT_TRUE(source.stereoDataAtOffset(0, -1).empty());
}

TEST(SoundSelection, FramesAreRoundedAwayFromZeroAndClamped)
{
    EXPECT_EQ(frameAtTime(0.5, 3.0), 2);
    EXPECT_EQ(frameAtTime(-0.5, 3.0), -2);
    EXPECT_EQ(frameAtTime(2.0, 44100.0), 88200);
    EXPECT_EQ(frameAtTime(std::numeric_limits<double>::quiet_NaN(), 1.0), 0);
    EXPECT_GT(frameAtTime(1e300, 44100.0), int64_t{1} << 60);
    EXPECT_LT(frameAtTime(-std::numeric_limits<double>::infinity(), 1.0), -(int64_t{1} << 60));
    const SoundSelection selection{1.5, 4.0, 0, 2};
    EXPECT_EQ(selection.duration(), 2.5);
}

} // namespace
} // namespace velloria
