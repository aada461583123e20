#include "document/clips/AudioTrack.h"

#include "MemorySource.h"
#include "platform/Log.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace velloria
{
namespace
{

/// A clip of numbered samples: frame i of the source is i / 32768.
AudioClipPtr numberedClip(int64_t numFrames, int64_t firstNumber = 0)
{
    std::vector<int16_t> samples(static_cast<size_t>(numFrames));
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<int16_t>(firstNumber + static_cast<int64_t>(i));
    return std::make_shared<AudioClip>(MemorySource::of(samples, 1), 0, numFrames, 0);
}

std::vector<int64_t> lengthsOf(const ClipList& clips)
{
    std::vector<int64_t> lengths;
    for (const auto& clip : clips.toVector())
        lengths.push_back(clip->numFrames());
    return lengths;
}

FloatBuffer numbers(std::initializer_list<int> values)
{
    FloatBuffer floats;
    for (const int value : values)
        floats.push_back(static_cast<float>(value) / 32768.0F);
    return floats;
}

using Lengths = std::vector<int64_t>;

TEST(AudioTrack, InsertionFillsTheGapBeyondTheEnd)
{
    AudioTrack track(ClipList(numberedClip(600)));
    track.insertClip(numberedClip(50), 1000);
    EXPECT_EQ(lengthsOf(track.clips()), (Lengths{600, 400, 50}));
    EXPECT_TRUE(track.clips().at(1)->isSilence());
    track.insertClip(numberedClip(7), 1050);
    EXPECT_EQ(lengthsOf(track.clips()), (Lengths{600, 400, 50, 7}));
    track.insertClips(ClipList(), 5000);
    EXPECT_EQ(track.length(), 1057);
}

TEST(AudioTrack, InsertionSplitsOnlyWithinAClip)
{
    AudioTrack track(ClipList({numberedClip(100), numberedClip(200)}));
    const AudioClipPtr clip = numberedClip(5);
    track.insertClip(clip, 100);
    EXPECT_EQ(lengthsOf(track.clips()), (Lengths{100, 5, 200}));
    EXPECT_EQ(track.clips().at(1), clip);
    track.insertClip(clip, 150);
    EXPECT_EQ(lengthsOf(track.clips()), (Lengths{100, 5, 45, 5, 155}));
    LogCapture log;
    track.insertClip(clip, -1);
    EXPECT_EQ(track.length(), 310);
    EXPECT_TRUE(log.hasLogged(QStringLiteral("[AudioTrack indexAndOffset:ofClipContainingOffset:inClips]: "
                                             "clip not found: target offset out of range.")));
}

TEST(AudioTrack, InsertedClipsStandInTheirOrder)
{
    for (const int64_t offset : {0, 3, 6, 10, 15}) {
        AudioTrack together(ClipList({numberedClip(6), numberedClip(4, 6)}));
        AudioTrack oneByOne(together);
        const std::vector<AudioClipPtr> clips = {numberedClip(2, 100), numberedClip(3, 200),
                                                 numberedClip(1, 300)};
        together.insertClips(ClipList(clips), offset);
        for (auto clip = clips.rbegin(); clip != clips.rend(); ++clip)
            oneByOne.insertClip(*clip, offset);
        EXPECT_EQ(lengthsOf(together.clips()), lengthsOf(oneByOne.clips())) << offset;
        EXPECT_EQ(together.sampleDataAtOffset(0, 25), oneByOne.sampleDataAtOffset(0, 25)) << offset;
        EXPECT_EQ(together.sampleDataAtOffset(offset, 6), numbers({100, 101, 200, 201, 202, 300})) << offset;
    }
}

TEST(AudioTrack, RemovalLeavesTheseClips)
{
    const struct {
        Lengths before;
        int64_t offset;
        int64_t length;
        Lengths after;
    } cases[] = {
        {{1000}, 100, 100, {100, 800}},
        {{1000}, 0, 100, {900}},
        {{1000}, 900, 100, {900}},
        {{1000}, 0, 1000, {}},
        {{1000}, 900, 5000, {900}},
        {{1000}, 1000, 1, {1000}},
        {{1000}, 5, 0, {1000}},
        {{1000}, -5, 10, {1000}},
        {{100, 200}, 0, 150, {0, 150}},
        {{100, 200, 300}, 100, 250, {100, 0, 250}},
        {{100, 200, 300}, 50, 550, {50, 0}},
        {{100, 200, 300}, 0, 600, {0, 0}},
        {{100, 0, 200}, 50, 100, {50, 150}},
        {{}, 0, 10, {}},
    };
    for (const auto& each : cases) {
        std::vector<AudioClipPtr> clips;
        for (const int64_t length : each.before)
            clips.push_back(numberedClip(length));
        AudioTrack track{ClipList(clips)};
        track.removeDataAtOffset(each.offset, each.length);
        EXPECT_EQ(lengthsOf(track.clips()), each.after) << each.offset << " " << each.length;
    }
}

TEST(AudioTrack, TakesARangeAsClips)
{
    const std::vector<AudioClipPtr> clips = {numberedClip(100), numberedClip(200), numberedClip(300)};
    const AudioTrack track{ClipList(clips)};
    EXPECT_EQ(lengthsOf(track.clipsAtOffset(10, 20)), (Lengths{20}));
    EXPECT_EQ(lengthsOf(track.clipsAtOffset(90, 400)), (Lengths{10, 200, 190}));
    EXPECT_EQ(track.clipsAtOffset(90, 400).at(1), clips[1]);
    EXPECT_EQ(lengthsOf(track.clipsAtOffset(590, 400)), (Lengths{10}));
    LogCapture log;
    EXPECT_TRUE(track.clipsAtOffset(600, 10).isEmpty());
    EXPECT_TRUE(track.clipsAtOffset(0, 0).isEmpty());
    EXPECT_TRUE(log.logged().isEmpty());
    EXPECT_TRUE(track.clipsAtOffset(-1, 10).isEmpty());
    EXPECT_TRUE(log.hasLogged(QStringLiteral("[AudioTrack clipsAtOffset:length:] i1 or i2 is -1")));
}

TEST(AudioTrack, StandsForAnArrayThroughRandomEdits)
{
    const auto samples = randomInt16(40'000, 1);
    const auto source = MemorySource::of(samples, 2);
    std::mt19937 engine(2);
    AudioTrack track(ClipList(std::make_shared<AudioClip>(source, 0, 20'000, 1)));
    FloatBuffer model = track.sampleDataAtOffset(0, 20'000);
    ClipList clipboard;
    FloatBuffer clipboardModel;
    for (int step = 0; step < 6000; ++step) {
        const auto length = static_cast<int64_t>(model.size());
        const auto offset = static_cast<int64_t>(engine() % static_cast<uint64_t>(length + 20));
        const auto count = static_cast<int64_t>(engine() % (engine() % 4 ? 50 : 4000));
        const auto begin = model.begin() + std::min(offset, length);
        const auto end = model.begin() + std::min(offset + count, length);
        switch (engine() % 3) {
        case 0:
            clipboard = track.clipsAtOffset(offset, count);
            clipboardModel.assign(begin, end);
            break;
        case 1:
            if (length > 10'000) {
                track.removeDataAtOffset(offset, count);
                model.erase(begin, end);
            }
            break;
        default:
            if (length > 60'000 || clipboard.isEmpty())
                break;
            track.insertClips(clipboard, offset);
            if (offset > length)
                model.resize(static_cast<size_t>(offset));
            model.insert(model.begin() + offset, clipboardModel.begin(), clipboardModel.end());
        }
        ASSERT_EQ(track.length(), static_cast<int64_t>(model.size()));
        const int64_t readOffset = offset - 30;
        const FloatBuffer read = track.sampleDataAtOffset(readOffset, 300);
        for (int64_t i = 0; i < 300; ++i) {
            const int64_t frame = readOffset + i;
            const bool inside = frame >= 0 && frame < track.length();
            ASSERT_EQ(read[static_cast<size_t>(i)], inside ? model[static_cast<size_t>(frame)] : 0.0F)
                << step;
        }
    }
    EXPECT_EQ(track.sampleDataAtOffset(0, track.length()), model);
}

TEST(AudioTrack, ReadsSilenceBeforeAndBeyond)
{
    const AudioTrack track(ClipList(numberedClip(4, 1)));
    EXPECT_EQ(track.sampleDataAtOffset(-2, 8), numbers({0, 0, 1, 2, 3, 4, 0, 0}));
    EXPECT_EQ(track.sampleDataAtOffset(-9, 3), numbers({0, 0, 0}));
    EXPECT_EQ(track.sampleDataAtOffset(4, 2), numbers({0, 0}));
    EXPECT_EQ(track.sampleDataAtOffset(INT64_MIN, 1), numbers({0}));
    EXPECT_TRUE(track.sampleDataAtOffset(0, -1).empty());
    // The frame behind the buffer is nobody's.
    std::vector<float> guarded(6, 7.0F);
    track.readSamples(2, std::span(guarded).first(5));
    EXPECT_EQ(guarded.back(), 7.0F);
}

TEST(AudioTrack, AShortSourceDoesNotShiftWhatFollows)
{
    const auto source = MemorySource::of(std::vector<int16_t>{1, 2, 3}, 1);
    const auto damaged = std::make_shared<AudioClip>(source, 1, 4, 0);
    const AudioTrack track(ClipList({damaged, numberedClip(2, 50)}));
    EXPECT_EQ(track.sampleDataAtOffset(0, 6), numbers({2, 3, 0, 0, 50, 51}));
}

TEST(AudioTrack, PanIsABalance)
{
    AudioTrack track(ClipList(numberedClip(1, 16384)));
    const struct {
        double pan;
        double gain;
        float left;
        float right;
    } cases[] = {{0, 1, 0.5F, 0.5F},    {-1, 1, 0.5F, 0},        {1, 1, 0, 0.5F},
                 {0.5, 1, 0.25F, 0.5F}, {-0.25, 2, 1.0F, 0.75F}, {0, 0.5, 0.25F, 0.25F}};
    for (const auto& each : cases) {
        track.setPan(each.pan);
        track.setScalarVolume(each.gain);
        EXPECT_EQ(track.stereoDataAtOffset(0, 1), (FloatBuffer{each.left, each.right})) << each.pan;
    }
}

TEST(AudioTrack, VolumeIsInDecibels)
{
    AudioTrack track;
    EXPECT_EQ(track.volume(), 0.0);
    track.setVolume(-6.0);
    EXPECT_DOUBLE_EQ(track.scalarVolume(), std::pow(10.0, -0.3));
    EXPECT_DOUBLE_EQ(track.volume(), -6.0);
    track.setPan(0.5);
    const AudioTrackPtr copy = AudioTrack::trackWithTrack(track);
    EXPECT_EQ(copy->scalarVolume(), track.scalarVolume());
    EXPECT_EQ(copy->pan(), 0.5);
}

AudioClipPtr clipWithSummary(std::vector<int16_t> entries)
{
    auto clip = std::make_shared<AudioClip>(MemorySource::of(std::vector<int16_t>(), 1), 0,
                                            static_cast<int64_t>(entries.size() / 2) * 512, 0);
    clip->waveformCache().setData(std::move(entries));
    return clip;
}

TEST(AudioTrack, ExtremesComeFromTheSummariesOfAllClipsInTheRange)
{
    const AudioClipPtr first = clipWithSummary({-100, 100, -200, 50});
    const AudioClipPtr second = clipWithSummary({-10, 300});
    AudioTrack track(ClipList({first, std::make_shared<AudioClip>(1000), second}));
    double min = 0;
    double max = 0;
    ASSERT_TRUE(track.getMin(min, max, 600, 5000));
    EXPECT_EQ(min, -200 / 32767.0);
    EXPECT_EQ(max, 300 / 32767.0);
    ASSERT_TRUE(track.getMin(min, max, 1100, 100));
    EXPECT_EQ(min, 0.0);
    EXPECT_EQ(max, 0.0);
    ASSERT_TRUE(track.getMin(min, max, 0, 0));
    EXPECT_EQ(min, 100.0);
    EXPECT_EQ(max, -100.0);
    EXPECT_FALSE(track.getMin(min, max, -1, 10));
    track.addClip(std::make_shared<AudioClip>(MemorySource::of(std::vector<int16_t>(), 1), 0, 512, 0));
    EXPECT_FALSE(track.getMin(min, max, 0, 5000));
}

TEST(AudioTrack, DrawsOneColumnAStride)
{
    const AudioTrack track(
        ClipList({clipWithSummary({-32767, 32767, -3277, 3277}),
                  std::make_shared<AudioClip>(MemorySource::of(std::vector<int16_t>(), 1), 0, 512, 0)}));
    const float tenth = 3277 / 32767.0F;
    EXPECT_EQ(track.minMaxDataAtOffset(0, 2560, 512), (FloatBuffer{-1, 1, -tenth, tenth, 1, -1, 0, 0, 0, 0}));
    EXPECT_EQ(track.minMaxDataAtOffset(-0.5, 1, 1), (FloatBuffer{1, -1}));
    EXPECT_EQ(track.minMaxDataAtOffset(0.49, 0.5, 0.25), (FloatBuffer{-1, 1, -1, 1}));
    EXPECT_TRUE(track.minMaxDataAtOffset(0, 1e9, 1e-9).empty());
    EXPECT_TRUE(track.minMaxDataAtOffset(0, 100, 0).empty());
    EXPECT_TRUE(track.minMaxDataAtOffset(0, -100, 1).empty());
    EXPECT_EQ(track.minMaxDataAtOffset(1e300, 2, 1), (FloatBuffer{0, 0, 0, 0}));
}

TEST(AudioTrack, NoMoreColumnsAreFilledThanTheTrackHasFrames)
{
    auto clip = std::make_shared<AudioClip>(MemorySource::of(std::vector<int16_t>(), 1), 0, 2, 0);
    clip->waveformCache().setData({-32767, 32767});
    const AudioTrack track{ClipList(AudioClipPtr(clip))};
    EXPECT_EQ(track.minMaxDataAtOffset(0, 1, 0.25), (FloatBuffer{-1, 1, -1, 1, 0, 0, 0, 0}));
}

} // namespace
} // namespace velloria
