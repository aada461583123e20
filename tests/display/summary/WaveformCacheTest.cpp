#include "display/summary/WaveformCache.h"

#include "platform/Log.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <thread>

namespace velloria
{
namespace
{

using Words = std::vector<int16_t>;

std::vector<float> randomFloats(size_t count, float amplitude, unsigned seed)
{
    std::mt19937 engine(seed);
    std::uniform_real_distribution<float> distribution(-amplitude, amplitude);
    std::vector<float> samples(count);
    std::generate(samples.begin(), samples.end(), [&] { return distribution(engine); });
    return samples;
}

Words randomWords(size_t count, unsigned seed)
{
    std::mt19937 engine(seed);
    Words samples(count);
    std::generate(samples.begin(), samples.end(), [&] { return static_cast<int16_t>(engine()); });
    return samples;
}

/// The entries of whole groups, by clamping sample after sample.
Words slowEntries(const std::vector<float>& samples, size_t zoom)
{
    Words words;
    for (size_t start = 0; start + zoom <= samples.size(); start += zoom) {
        double min = 100.0;
        double max = -100.0;
        for (size_t i = start; i < start + zoom; ++i) {
            const double sample = std::clamp(static_cast<double>(samples[i]), -1.0, 1.0);
            min = std::min(min, sample);
            max = std::max(max, sample);
        }
        words.push_back(static_cast<int16_t>(std::round(min * 32767)));
        words.push_back(static_cast<int16_t>(std::round(max * 32767)));
    }
    return words;
}

Words slowEntries(const Words& samples, size_t zoom)
{
    Words words;
    for (auto start = samples.begin(); samples.end() - start >= static_cast<std::ptrdiff_t>(zoom);
         start += zoom) {
        const auto [min, max] = std::minmax_element(start, start + static_cast<std::ptrdiff_t>(zoom));
        words.insert(words.end(), {*min, *max});
    }
    return words;
}

/// What a query over plain entries answers, entry by entry.
bool slowQuery(const Words& words, int64_t zoom, int64_t offset, int64_t count, double& min, double& max)
{
    const auto numEntries = static_cast<int64_t>(words.size() / 2);
    const int64_t first = offset / zoom;
    if (first >= numEntries)
        return false;
    min = 100.0;
    max = -100.0;
    for (int64_t entry = first; entry < std::min(numEntries, (offset + zoom + count - 1) / zoom); ++entry) {
        min = std::min(min, words[static_cast<size_t>(2 * entry)] / 32767.0);
        max = std::max(max, words[static_cast<size_t>(2 * entry + 1)] / 32767.0);
    }
    return true;
}

TEST(WaveformCache, KeepsTheSamplesThatDoNotFillAnEntry)
{
    WaveformCache cache;
    cache.appendFloatData(std::vector<float>(1000, 0.25F));
    EXPECT_EQ(cache.length(), 1);
    cache.appendFloatData(std::vector<float>(100, 0.5F));
    EXPECT_EQ(cache.length(), 2);
    EXPECT_FALSE(cache.isFinal());
    cache.finalizeCache();
    EXPECT_TRUE(cache.isFinal());
    EXPECT_EQ(cache.data(), (Words{8192, 8192, 8192, 16384, 16384, 16384}));
}

TEST(WaveformCache, EntriesEqualTheSlowFormulaHoweverTheInputIsCut)
{
    const auto floats = randomFloats(30'000, 1.5F, 1);
    const auto words = randomWords(30'000, 2);
    for (const uint32_t zoom : {2U, 7U, 512U}) {
        for (const size_t piece : {size_t{1}, size_t{511}, size_t{513}, size_t{30'000}}) {
            WaveformCache fromFloats(zoom);
            WaveformCache fromWords(zoom);
            for (size_t start = 0; start < floats.size(); start += piece) {
                const size_t count = std::min(piece, floats.size() - start);
                fromFloats.appendFloatData(std::span(floats).subspan(start, count));
                fromWords.appendInt16Data(std::span(words).subspan(start, count));
            }
            EXPECT_EQ(fromFloats.data(), slowEntries(floats, zoom)) << zoom << " " << piece;
            EXPECT_EQ(fromWords.data(), slowEntries(words, zoom)) << zoom << " " << piece;
        }
    }
}

TEST(WaveformCache, InterleavedFramesGiveEachChannelItsOwnEntries)
{
    for (size_t numChannels = 1; numChannels <= 40; numChannels += numChannels < 9 ? 1 : 7) {
        const size_t numFrames = 3000;
        const Words frames = randomWords(numFrames * numChannels, static_cast<unsigned>(numChannels));
        std::vector<WaveformCache> together(numChannels);
        std::vector<WaveformCache*> pointers;
        for (auto& cache : together) {
            cache = WaveformCache();
            pointers.push_back(&cache);
        }
        for (size_t start = 0; start < numFrames;) {
            const size_t count = std::min<size_t>(777, numFrames - start);
            WaveformCache::appendInterleavedInt16(
                std::span(frames).subspan(start * numChannels, count * numChannels), pointers);
            start += count;
        }
        for (size_t channel = 0; channel < numChannels; ++channel) {
            Words mono(numFrames);
            for (size_t i = 0; i < numFrames; ++i)
                mono[i] = frames[i * numChannels + channel];
            WaveformCache alone;
            alone.appendInt16Data(mono);
            alone.finalizeCache();
            together[channel].finalizeCache();
            EXPECT_EQ(together[channel].data(), alone.data()) << numChannels << " channels, " << channel;
        }
    }
}

TEST(WaveformCache, InterleavedFramesReachSummariesThatAreOutOfStep)
{
    const Words frames = randomWords(4000, 3);
    WaveformCache left;
    WaveformCache right;
    right.appendInt16Data(std::span(frames).first(5));
    WaveformCache* const caches[] = {&left, &right};
    WaveformCache::appendInterleavedInt16(frames, caches);
    Words expected(frames.begin(), frames.begin() + 5);
    for (size_t i = 1; i < frames.size(); i += 2)
        expected.push_back(frames[i]);
    EXPECT_EQ(right.data(), slowEntries(expected, 512));
    EXPECT_EQ(left.length(), 3);
}

TEST(WaveformCache, ScalesAndRoundsAsTold)
{
    WaveformCache summary(2);
    summary.appendFloatData(std::vector<float>{1.5F, 0.5F, -1.0F, -2.0F});
    EXPECT_EQ(summary.data(), (Words{16384, 32767, -32767, -32767}));

    WaveformCache raw(1);
    raw.appendFloatData(std::vector<float>{0.5F, -0.5F, 1.0F, 1.5F, -1.0F, -1.5F});
    raw.appendInt16Data(Words{-32768, 7});
    EXPECT_EQ(raw.data(), (Words{16384, -16384, 32767, 32767, -32767, -32768, -32768, 7}));
    double min = 0;
    double max = 0;
    ASSERT_TRUE(raw.getMin(min, max, 0, 2));
    EXPECT_EQ(min, -16384 / 32767.0);
    EXPECT_EQ(max, 16384 / 32767.0);
}

TEST(WaveformCache, ANanDoesNotPoisonAnEntry)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    WaveformCache cache(4);
    cache.appendFloatData(std::vector<float>{nan, 0.5F, nan, 0.25F, nan, nan, nan, nan, nan});
    cache.finalizeCache();
    EXPECT_EQ(cache.data(), (Words{8192, 16384, 0, 0}));
}

TEST(WaveformCache, LastEntryOfFloatsIsNarrowedNotClamped)
{
    WaveformCache cache;
    cache.appendFloatData(std::vector<float>{0.5F, -0.25F});
    cache.finalizeCache();
    EXPECT_EQ(cache.data(), (Words{-8192, 16384}));

    WaveformCache loud;
    loud.appendFloatData(std::vector<float>{1.5F, 1.75F});
    loud.finalizeCache();
    // 1.5 and 1.75 are 49151 and 57342, which in 16 bits are -16385 and -8194.
    EXPECT_EQ(loud.data(), (Words{-16385, -8194}));

    WaveformCache inverted;
    inverted.appendFloatData(std::vector<float>{0.5F, 1.5F});
    inverted.finalizeCache();
    EXPECT_EQ(inverted.length(), 0);
}

TEST(WaveformCache, LastEntryOfIntegersReachesFrom100DownOrFromMinus100Up)
{
    const struct {
        Words samples;
        Words entry;
    } cases[] = {{{5000, 5000}, {100, 5000}}, {{-5000}, {-5000, -100}}, {{3, 101, -4, -101}, {-101, 101}}};
    for (const auto& each : cases) {
        WaveformCache cache;
        cache.appendInt16Data(each.samples);
        cache.finalizeCache();
        EXPECT_EQ(cache.data(), each.entry);
    }
}

TEST(WaveformCache, QueriesEqualASearchOverAllEntries)
{
    const Words words = randomWords(2 * 70'000, 4);
    WaveformCache cache;
    cache.setData(words);
    std::mt19937_64 engine(5);
    const int64_t frames = 70'000 * 512;
    for (int i = 0; i < 3000; ++i) {
        const auto offset = static_cast<int64_t>(engine() % static_cast<uint64_t>(frames + 2000));
        const auto count = static_cast<int64_t>(engine() % (uint64_t{1} << (i % 27)));
        double min = 0;
        double max = 0;
        double slowMin = 0;
        double slowMax = 0;
        const bool expected = slowQuery(words, 512, offset, count, slowMin, slowMax);
        ASSERT_EQ(cache.getMin(min, max, offset, count), expected) << offset << " " << count;
        ASSERT_EQ(min, slowMin) << offset << " " << count;
        ASSERT_EQ(max, slowMax) << offset << " " << count;
    }
}

TEST(WaveformCache, QueriesAtTheEdges)
{
    WaveformCache cache;
    double min = 5;
    double max = 5;
    LogCapture log;
    EXPECT_FALSE(cache.getMin(min, max, -1, 1));
    EXPECT_TRUE(log.logged().isEmpty());
    cache.setData({-10, 10, -20, 20});
    EXPECT_TRUE(cache.getMin(min, max, 0, 0));
    EXPECT_EQ(min, 100.0);
    EXPECT_EQ(max, -100.0);
    EXPECT_FALSE(cache.getMin(min, max, 1024, 1));
    EXPECT_TRUE(cache.getMin(min, max, 1023, INT64_MAX));
    EXPECT_EQ(max, 20 / 32767.0);
    EXPECT_FALSE(cache.getMin(min, max, -1, 1));
    EXPECT_FALSE(cache.getMin(min, max, 0, -1));
    EXPECT_EQ(log.logged(), (QStringList{QStringLiteral("Offset < 0"), QStringLiteral("NumFrames < 0")}));
}

TEST(WaveformCache, ZoomZeroTakesNothing)
{
    WaveformCache cache(0);
    LogCapture log;
    cache.appendFloatData(std::vector<float>(10));
    cache.appendInt16Data(Words(10));
    double min = 0;
    double max = 0;
    EXPECT_FALSE(cache.getMin(min, max, 0, 1));
    const QString line = QStringLiteral("-[WaveformCache appendFloatData] _zoom == 0");
    EXPECT_EQ(log.logged(), (QStringList{line, line}));
    EXPECT_EQ(cache.length(), 0);
}

TEST(WaveformCache, ColumnsAreZeroWhereTheSummaryDoesNotReach)
{
    WaveformCache cache;
    cache.setData({-32767, 32767, -16384, 16384});
    const auto columns = cache.minMaxDataAtOffset(256.5, 1500.0, 500.0);
    ASSERT_EQ(columns.size(), 6U);
    EXPECT_EQ(columns, (std::vector<float>{-1, 1, -16384 / 32767.0F, 16384 / 32767.0F, 0, 0}));
    EXPECT_TRUE(cache.minMaxDataAtOffset(0, 1e12, 1e-6).empty());
    EXPECT_TRUE(cache.minMaxDataAtOffset(0, 100, 0).empty());
    EXPECT_EQ(cache.minMaxDataAtOffset(-1e300, 1, 1), std::vector<float>());
}

TEST(WaveformCache, ACutTakesTheEntriesFromTheNearestOn)
{
    const Words words = randomWords(20, 6);
    WaveformCache cache;
    cache.setData(words);
    const struct {
        int64_t offset;
        int64_t count;
        std::ptrdiff_t first;
        std::ptrdiff_t end;
    } cases[] = {{200, 512, 0, 1},   {300, 512, 1, 2}, {255, 513, 0, 2},     {256, 1, 1, 2},
                 {0, 0, 0, 0},       {0, 5120, 0, 10}, {2048, 99999, 4, 10}, {4864, 512, 10, 10},
                 {99999, 512, 0, 0}, {0, 5121, 0, 10}};
    for (const auto& each : cases) {
        const WaveformCache part = cache.subdataWithOffset(each.offset, each.count);
        EXPECT_EQ(part.data(), Words(words.begin() + 2 * each.first, words.begin() + 2 * each.end))
            << each.offset;
    }
    const WaveformCache inner = cache.subdataWithOffset(1024, 2048).subdataWithOffset(512, 4096);
    EXPECT_EQ(inner.data(), Words(words.begin() + 6, words.begin() + 12));
}

TEST(WaveformCache, ACutFillsAsTheScanProceeds)
{
    WaveformCache cache;
    const WaveformCache part = cache.subdataWithOffset(1024, 1000);
    double min = 0;
    double max = 0;
    EXPECT_FALSE(part.getMin(min, max, 0, 1));
    cache.appendInt16Data(Words(1536, 99));
    EXPECT_EQ(part.length(), 1);
    cache.appendInt16Data(Words(51200, 98));
    EXPECT_EQ(part.data(), (Words{99, 99, 98, 98}));
}

TEST(WaveformCache, AppendingToACutLeavesTheWholeAlone)
{
    WaveformCache cache;
    cache.setData({1, 2, 3, 4, 5, 6});
    WaveformCache part = cache.subdataWithOffset(512, 512);
    part.appendInt16Data(Words(512, 7));
    EXPECT_EQ(part.data(), (Words{3, 4, 7, 7}));
    EXPECT_EQ(cache.data(), (Words{1, 2, 3, 4, 5, 6}));
}

TEST(WaveformCache, QueriesRunWhileAnotherThreadAppends)
{
    WaveformCache cache;
    std::atomic<bool> done = false;
    std::thread writer([&] {
        WaveformCache writing = cache;
        for (int i = 0; i < 2000; ++i)
            writing.appendInt16Data(Words(5000, static_cast<int16_t>(i)));
        writing.finalizeCache();
        done = true;
    });
    int64_t numSeen = 0;
    bool rising = true;
    while (!done) {
        const int64_t length = cache.length();
        rising = rising && length >= numSeen;
        numSeen = length;
        double min = 0;
        double max = 0;
        // The samples rise from 0, so the oldest entry holds the minimum and the newest the maximum.
        const int64_t newest = (numSeen - 1) * 512 / 5000;
        if (length > 0 && cache.getMin(min, max, 0, length * 512) &&
            (min != 0.0 || max < static_cast<double>(newest) / 32767.0))
            rising = false;
    }
    writer.join();
    EXPECT_TRUE(rising);
    EXPECT_EQ(cache.length(), 2000 * 5000 / 512 + 1);
}

} // namespace
} // namespace velloria
