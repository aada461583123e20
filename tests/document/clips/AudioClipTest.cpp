#include "document/clips/AudioClip.h"

#include "MemorySource.h"
#include "platform/Log.h"

#include <gtest/gtest.h>

namespace velloria
{
namespace
{

TEST(AudioClip, ReadsOneChannelOfEverySampleFormat)
{
    const FloatBuffer expected = {-0.5F, 0.25F, 0.0F};
    const std::vector<double> doubles = {9, -0.5, 9, 0.25, 9, 0.0};
    const std::vector<float> floats(doubles.begin(), doubles.end());
    const auto integers = [&](auto sample) {
        using Integer = decltype(sample);
        std::vector<Integer> samples;
        for (const double value : doubles)
            samples.push_back(static_cast<Integer>(
                value == 9 ? 1 : value * -2.0 * std::numeric_limits<Integer>::min() / 2));
        return samples;
    };
    const std::shared_ptr<MemorySource> sources[] = {
        MemorySource::of(doubles, 2, true), MemorySource::of(floats, 2, true),
        MemorySource::of(integers(int8_t()), 2), MemorySource::of(integers(int16_t()), 2),
        MemorySource::of(integers(int32_t()), 2)};
    for (const auto& source : sources) {
        const AudioClip clip(source, 0, 3, 1);
        EXPECT_EQ(clip.sampleDataAtOffset(0, 3), expected) << source->sampleBits();
        EXPECT_EQ(clip.sampleDataAtOffset(1, 1), FloatBuffer{0.25F}) << source->sampleBits();
    }
}

TEST(AudioClip, ReadsMonoFloatsAsTheyAre)
{
    const std::vector<float> floats = {0.1F, 1.5F, -7.0F, 1e-30F};
    const AudioClip clip(MemorySource::of(floats, 1, true), 1, 3, 0);
    EXPECT_EQ(clip.sampleDataAtOffset(0, 3), FloatBuffer(floats.begin() + 1, floats.end()));
}

TEST(AudioClip, LongReadsCrossTheScratchBlock)
{
    // The last has frames larger than the block.
    for (const int64_t numChannels : {1, 2, 3, 40, 40'000}) {
        const int64_t numFrames = numChannels > 100 ? 20 : 50'000;
        const auto samples = randomInt16(static_cast<size_t>(numChannels * numFrames), 1);
        const AudioClip clip(MemorySource::of(samples, numChannels), 0, numFrames, numChannels - 1);
        const FloatBuffer read = clip.sampleDataAtOffset(0, numFrames);
        for (int64_t i = 0; i < numFrames; ++i) {
            const int16_t sample = samples[static_cast<size_t>((i + 1) * numChannels - 1)];
            ASSERT_EQ(read[static_cast<size_t>(i)], sample * 0x1p-15F) << numChannels << " " << i;
        }
    }
}

TEST(AudioClip, WhatTheSourceLacksIsSilence)
{
    const auto source = MemorySource::of(std::vector<int16_t>{1, 2, 3}, 1);
    const AudioClip clip(source, 0, 10, 0);
    FloatBuffer out(5, 9.0F);
    EXPECT_EQ(clip.readSamples(1, out), 2);
    EXPECT_EQ(out, (FloatBuffer{2 * 0x1p-15F, 3 * 0x1p-15F, 0, 0, 0}));
    EXPECT_EQ(clip.readSamples(100, out), 0);
    EXPECT_EQ(out, FloatBuffer(5));
    EXPECT_EQ(AudioClip(source, 0, 3, 7).sampleDataAtOffset(0, 3), FloatBuffer(3));
    const AudioClip empty;
    EXPECT_EQ(empty.sampleDataAtOffset(0, 2), FloatBuffer(2));
    EXPECT_FALSE(empty.isSilence());
}

TEST(AudioClip, ASampleSizeWithoutFloatsIsLogged)
{
    LogCapture log;
    const AudioClip clip(std::make_shared<MemorySource>(randomBytes(50, 1), 40, 1), 0, 10, 0);
    EXPECT_EQ(clip.sampleDataAtOffset(0, 10), FloatBuffer(10));
    EXPECT_TRUE(log.hasLogged(QStringLiteral("Unsupported sample size of 5 bytes")));
}

TEST(AudioClip, CutsShareTheSourceAndTheSummary)
{
    const auto samples = randomInt16(5000, 2);
    AudioClip clip(MemorySource::of(samples, 1), 100, 4096, 0);
    clip.waveformCache().setData({-1, 1, -2, 2, -3, 3, -4, 4, -5, 5, -6, 6, -7, 7, -8, 8});
    const AudioClipPtr cut = clip.subdataWithOffset(1024, 9999);
    EXPECT_EQ(cut->numFrames(), 3072);
    EXPECT_EQ(cut->sourceOffset(), 1124);
    EXPECT_EQ(cut->sourceFile(), clip.sourceFile());
    EXPECT_EQ(cut->waveformCache().length(), 6);
    EXPECT_EQ(cut->sampleDataAtOffset(0, 1)[0], samples[1124] * 0x1p-15F);
    const AudioClipPtr inner = cut->subdataWithOffset(512, 100);
    EXPECT_EQ(inner->waveformCache().data(), (std::vector<int16_t>{-4, 4}));
    EXPECT_EQ(inner->sourceOffset(), 1636);
    EXPECT_EQ(clip.subdataWithOffset(5000, 10)->numFrames(), 0);
}

TEST(AudioClip, SilenceIsSilentInEveryView)
{
    const AudioClip clip(int64_t{100});
    double min = 1;
    double max = 1;
    EXPECT_TRUE(clip.getMin(min, max, 0, 100));
    EXPECT_EQ(min, 0.0);
    EXPECT_EQ(max, 0.0);
    const AudioClipPtr cut = clip.subdataWithOffset(90, 50);
    EXPECT_TRUE(cut->isSilence());
    EXPECT_EQ(cut->numFrames(), 10);
    EXPECT_EQ(cut->sampleDataAtOffset(0, 4), FloatBuffer(4));
    EXPECT_EQ(cut->sourceFile(), nullptr);
}

TEST(AudioClip, ExtremesOfNoFramesAreZero)
{
    const AudioClip clip(MemorySource::of(std::vector<int16_t>{1}, 1), 0, 1, 0);
    double min = 1;
    double max = 1;
    EXPECT_TRUE(clip.getMin(min, max, 0, 0));
    EXPECT_EQ(min, 0.0);
    EXPECT_FALSE(clip.getMin(min, max, 0, 1));
}

} // namespace
} // namespace velloria
