#include "Classes/CoreAudio/AudioMixer.h"
#include "Classes/CoreAudio/DocumentSource.h"
#include "Classes/CoreAudio/PlaybackBlock.h"
#include "Classes/CoreAudio/SampleRateConverterSource.h"
#include "document/DocumentKit.h"

#include <cmath>

using namespace velloria;

namespace
{

/// Gives its blocks one after the other, whatever is asked for.
class ScriptedSource : public DataSource
{
public:
    explicit ScriptedSource(std::vector<SampleBlock> blocks)
        : mBlocks(std::move(blocks))
    {
    }
    bool requestDataWithNumFrames(uint64_t, SampleBlock& block) override
    {
        block = mNext < mBlocks.size() ? mBlocks[mNext++] : SampleBlock();
        return !block.empty();
    }

private:
    std::vector<SampleBlock> mBlocks;
    size_t mNext = 0;
};

FloatBuffer playedFrom(DocumentSource& source, int64_t* timestamp = nullptr)
{
    SampleBlock scratch;
    PlaybackBlock block;
    readPlaybackBlock(source, 4, scratch, block);
    if (timestamp)
        *timestamp = block.timestamp;
    return block.stereoAudioData;
}

DocumentSource sourceOverTracks(const kit::TrackSamples& samples, int32_t firstTrack, int32_t numTracks)
{
    const auto document = kit::documentOf(samples);
    SoundSelection selection;
    selection.endTime = document->totalTime();
    selection.firstTrack = firstTrack;
    selection.numTracks = numTracks;
    return {document, selection};
}

} // namespace

TEST(MixerComponent, KeepsTheVolumeOnTheNearSide)
{
    struct Case {
        double pan;
        double volume;
        double left;
        double right;
    };
    for (const Case& c : {Case{-0.5, 0.8, 0.8, 0.4}, {1, 0.7, 0, 0.7}, {0, 0.3, 0.3, 0.3}, {-1, 2, 2, 0}}) {
        const MixerComponent component(c.pan, c.volume);
        EXPECT_DOUBLE_EQ(component.leftVolume(), c.left) << c.pan;
        EXPECT_DOUBLE_EQ(component.rightVolume(), c.right) << c.pan;
    }
}

TEST(AudioMixer, SumsItsInputsWithTheirGains)
{
    AudioMixer mixer;
    mixer.addComponent(MixerComponent(-1, 0.5));
    mixer.addComponent(MixerComponent(0, 2));
    mixer.setSource(
        std::make_shared<ScriptedSource>(std::vector<SampleBlock>{{{1, 2}, {10, 20}}, {{4}, {1}}, {{1, 2}}}));
    SampleBlock block;
    ASSERT_TRUE(mixer.requestDataWithNumFrames(2, block));
    EXPECT_EQ(block, (SampleBlock{{20.5F, 41}, {20, 40}}));
    ASSERT_TRUE(mixer.requestDataWithNumFrames(2, block));
    EXPECT_EQ(block, (SampleBlock{{4}, {2}}));
    EXPECT_FALSE(mixer.requestDataWithNumFrames(2, block)) << "another number of channels";
    EXPECT_TRUE(block.empty());
    EXPECT_FALSE(AudioMixer().requestDataWithNumFrames(2, block)) << "no source";
}

TEST(PlaybackBlock, PutsEvenTracksLeftAndOddOnesRight)
{
    const kit::TrackSamples tracks = {{1, 2, 3, 4}, {10, 20, 30, 40}, {100, 200, 300, 400}};
    struct Case {
        kit::TrackSamples tracks;
        int32_t firstTrack;
        int32_t numTracks;
        FloatBuffer expected;
    };
    const Case cases[] = {{tracks, 0, 3, {101, 10, 202, 20, 303, 30, 404, 40}},
                          {tracks, 1, 2, {100, 10, 200, 20, 300, 30, 400, 40}},
                          {tracks, 1, 1, {10, 10, 20, 20, 30, 30, 40, 40}},
                          {{tracks[0]}, 0, 1, {1, 1, 2, 2, 3, 3, 4, 4}}};
    for (const Case& c : cases) {
        DocumentSource source = sourceOverTracks(c.tracks, c.firstTrack, c.numTracks);
        EXPECT_EQ(playedFrom(source), c.expected);
        EXPECT_TRUE(playedFrom(source).empty());
    }
}

TEST(PlaybackBlock, IsStampedWithItsFirstFrameAlsoAfterALoop)
{
    DocumentSource source = sourceOverTracks({{1, 2, 3, 4, 5, 6}}, 0, 1);
    source.setLooping(true);
    int64_t timestamp = -1;
    for (const int64_t expected : {0, 4, 0, 4}) {
        playedFrom(source, &timestamp);
        EXPECT_EQ(timestamp, expected);
    }
}

TEST(SampleRateConverterSource, GivesTheSoundAtAnotherRate)
{
    // A sine stays that sine: an independent formula tells every frame.
    constexpr double inRate = 44100;
    constexpr double outRate = 48000;
    const auto sine = [](double rate, int64_t frame) {
        return 0.5 * std::sin(2 * M_PI * 1000.0 * static_cast<double>(frame) / rate);
    };
    std::vector<SampleBlock> blocks(100, SampleBlock(2, FloatBuffer(441)));
    for (size_t i = 0; i < 44100; ++i) {
        blocks[i / 441][0][i % 441] = static_cast<float>(sine(inRate, static_cast<int64_t>(i)));
        blocks[i / 441][1][i % 441] = -blocks[i / 441][0][i % 441];
    }
    SampleRateConverterSource source(inRate, outRate, 2);
    source.setDataSource(std::make_shared<ScriptedSource>(blocks));
    EXPECT_EQ(source.outputSampleRate(), outRate);
    int64_t numFrames = 0;
    double largestError = 0;
    SampleBlock block;
    while (source.requestDataWithNumFrames(777, block)) {
        ASSERT_EQ(block.size(), 2U);
        for (size_t i = 0; i < block[0].size(); ++i, ++numFrames) {
            EXPECT_EQ(block[0][i], -block[1][i]);
            // The ends ring, because the sound begins and ends there.
            if (numFrames > 1000 && numFrames < 47000)
                largestError = std::max(largestError, std::abs(block[0][i] - sine(outRate, numFrames)));
        }
    }
    EXPECT_EQ(numFrames, 48000);
    EXPECT_LT(largestError, 1e-5);
}
