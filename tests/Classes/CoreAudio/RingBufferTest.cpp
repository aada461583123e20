#include "Classes/CoreAudio/VLRTTimestampingRingBuffer.h"
#include "platform/Log.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <random>
#include <thread>

using namespace velloria;

namespace
{

/// A float holds no frame number beyond 2^24: it is told in two parts, of which this is the upper one.
float upperPart(int64_t frame)
{
    const int64_t part = frame / 65536;
    return static_cast<float>(part);
}

const QString kRefusedAppend =
    QStringLiteral("VLRTRingBuffer::appendFloats() called with more bytes than can be appended.");
const QString kRefusedConsume =
    QStringLiteral("VLRTRingBuffer::consumeFloats called with more frames than can be consumed.");

std::vector<float> stereoRamp(int32_t numFrames, float first)
{
    std::vector<float> pairs;
    for (int32_t i = 0; i < numFrames; ++i) {
        pairs.push_back(first + static_cast<float>(i));
        pairs.push_back(-first - static_cast<float>(i));
    }
    return pairs;
}

std::vector<float> consume(VLRTRingBuffer& ring, int32_t numFrames)
{
    // Guard values behind the frames.
    std::vector<float> pairs(2 * static_cast<size_t>(numFrames) + 2, 777.0F);
    ring.consumeFloats(pairs.data(), numFrames);
    EXPECT_EQ(pairs.back(), 777.0F);
    pairs.resize(pairs.size() - 2);
    return pairs;
}

} // namespace

TEST(RingBuffer, HoldsOneFrameLessThanItWasMadeForAndRefusesWhatDoesNotFit)
{
    const LogCapture log;
    VLRTRingBuffer ring(4096);
    const std::vector<float> pairs = stereoRamp(4096, 1);
    ring.appendFloats(pairs.data(), 4096, 2);
    EXPECT_EQ(log.printed(), QStringList(kRefusedAppend));
    EXPECT_EQ(ring.framesAvailableToConsume(), 0);
    ring.appendFloats(pairs.data(), 4095, 2);
    EXPECT_EQ(ring.framesAvailableToConsume(), 4095);
    EXPECT_EQ(ring.framesAvailableToAppend(), 0);
    float untouched = 5.0F;
    ring.consumeFloats(&untouched, 4096);
    EXPECT_EQ(untouched, 5.0F);
    EXPECT_EQ(log.printed(), QStringList({kRefusedAppend, kRefusedConsume}));
    ring.consumeFloats(nullptr, 4095);
    EXPECT_EQ(ring.framesAvailableToConsume(), 0);
}

TEST(RingBuffer, KeepsTheFirstTwoOfManyChannelsAndDoublesALoneOne)
{
    VLRTRingBuffer ring(8);
    std::vector<float> sixChannels(18);
    for (size_t i = 0; i < sixChannels.size(); ++i)
        sixChannels[i] = static_cast<float>(i);
    ring.appendFloats(sixChannels.data(), 3, 6);
    EXPECT_EQ(consume(ring, 3), (std::vector<float>{0, 1, 6, 7, 12, 13}));
    const float mono[] = {4, 9};
    ring.appendFloats(mono, 2, 1);
    ring.appendFloats(mono, 2, 0);
    EXPECT_EQ(ring.framesAvailableToConsume(), 2);
    EXPECT_EQ(consume(ring, 2), (std::vector<float>{4, 4, 9, 9}));
}

TEST(RingBuffer, GivesWhatAQueueGivesThroughManyWraps)
{
    for (const int32_t capacity : {2, 8, 1000}) {
        VLRTRingBuffer ring(capacity);
        std::vector<float> queue;
        std::mt19937 random(static_cast<unsigned>(capacity));
        float next = 0;
        for (int round = 0; round < 2000; ++round) {
            const auto numIn = static_cast<int32_t>(random() % (ring.framesAvailableToAppend() + 1U));
            const int32_t numChannels = 1 + static_cast<int32_t>(random() % 3);
            std::vector<float> in(static_cast<size_t>(numIn * numChannels));
            for (float& sample : in)
                sample = ++next;
            ring.appendFloats(in.data(), numIn, numChannels);
            for (int32_t i = 0; i < numIn; ++i)
                for (const int32_t side : {0, std::min(1, numChannels - 1)})
                    queue.push_back(in[static_cast<size_t>(i * numChannels + side)]);
            const auto numOut = static_cast<int32_t>(random() % (ring.framesAvailableToConsume() + 1U));
            const auto end = queue.begin() + 2 * numOut;
            ASSERT_EQ(consume(ring, numOut), std::vector<float>(queue.begin(), end));
            queue.erase(queue.begin(), end);
        }
    }
}

TEST(RingBuffer, OfNoFramesSaysSoAndHoldsNothing)
{
    const LogCapture log;
    VLRTTimestampingRingBuffer ring(0);
    EXPECT_EQ(log.printed(), QStringList(QStringLiteral(
                                 "VLRTRingBuffer constructor called with invalid number of frames.")));
    const float pair[] = {1, 2};
    ring.appendFloats(pair, 1, 2, 7);
    EXPECT_EQ(ring.framesAvailableToConsume(), 0);
}

TEST(RingBuffer, OfADeviceSaysLaterWhatItRefused)
{
    const LogCapture log;
    VLRTRingBuffer ring(4, RingMessages::When::later);
    const std::vector<float> pairs = stereoRamp(4, 1);
    ring.appendFloats(pairs.data(), 4, 2);
    ring.appendFloats(pairs.data(), 4, 2);
    EXPECT_TRUE(log.printed().isEmpty());
    ring.printPendingMessages();
    ring.printPendingMessages();
    EXPECT_EQ(log.printed(), QStringList(kRefusedAppend));
}

TEST(TimestampingRingBuffer, TellsTheStampOfTheSlotThatWasLastReadFrom)
{
    VLRTTimestampingRingBuffer ring(2048);
    EXPECT_EQ(ring.currentTimestamp(), -1);
    const std::vector<float> block = stereoRamp(512, 1);
    for (const int64_t stamp : {1000, 1512, 2024})
        ring.appendFloats(block.data(), 512, 2, stamp);
    ring.consumeFloats(nullptr, 600);
    EXPECT_EQ(ring.currentTimestamp(), 1000);
    ring.consumeFloats(nullptr, 100);
    EXPECT_EQ(ring.currentTimestamp(), 1512);
}

TEST(TimestampingRingBuffer, HasNoStampsBeyondItsLastWholeSlot)
{
    VLRTTimestampingRingBuffer ring(600);
    const std::vector<float> block = stereoRamp(512, 1);
    ring.appendFloats(block.data(), 512, 2, 1000);
    ring.consumeFloats(nullptr, 512);
    ring.appendFloats(block.data(), 88, 2, 1512);
    ring.consumeFloats(nullptr, 88);
    EXPECT_EQ(ring.currentTimestamp(), 1000);
}

TEST(TimestampingRingBuffer, RewritesFramesThatWereNotReadYet)
{
    const LogCapture log;
    VLRTTimestampingRingBuffer ring(8);
    const std::vector<float> first = stereoRamp(6, 1);
    ring.appendFloats(first.data(), 6, 2, 0);
    ring.consumeFloats(nullptr, 5);
    ring.appendFloats(first.data(), 5, 2, 0);
    const std::vector<float> changed = stereoRamp(4, 100);
    ring.rewriteFloats(changed.data(), 4, 4, 9);
    std::vector<float> expected = {6, -6, 1, -1};
    expected.insert(expected.end(), changed.begin(), changed.end());
    EXPECT_EQ(consume(ring, 6), expected);
    ring.rewriteFloats(changed.data(), 1, 1, 9);
    EXPECT_EQ(log.printed(), QStringList(QStringLiteral("VLRTTimestampingRingBuffer::rewriteFloats() called "
                                                        "with more frames than can be rewritten.")));
}

TEST(TimestampingRingBuffer, CarriesEveryFrameFromOneThreadToAnother)
{
    // scripts/soak sets minutes.
    const std::chrono::seconds soak(qEnvironmentVariableIntValue("VELLORIA_SOAK_SECONDS"));
    const auto deadline = std::chrono::steady_clock::now() + soak;
    std::atomic<int64_t> numFrames{INT64_MAX};
    VLRTTimestampingRingBuffer ring(4096);
    std::thread producer([&] {
        std::vector<float> block(1024);
        for (int64_t at = 0; at < numFrames;) {
            if (at >= 7800 * 512 && std::chrono::steady_clock::now() >= deadline) {
                numFrames = at;
                break;
            }
            if (ring.framesAvailableToAppend() < 512) {
                std::this_thread::yield();
                continue;
            }
            for (int64_t i = 0; i < 512; ++i) {
                block[static_cast<size_t>(2 * i)] = static_cast<float>((at + i) % 65536);
                block[static_cast<size_t>(2 * i + 1)] = upperPart(at + i);
            }
            ring.appendFloats(block.data(), 512, 2, at);
            at += 512;
        }
    });
    int64_t at = 0;
    int64_t numWrong = 0;
    std::vector<float> pairs(2 * 700);
    while (at < numFrames) {
        const int32_t count = std::min(ring.framesAvailableToConsume(), 1 + static_cast<int32_t>(at % 700));
        if (count == 0) {
            std::this_thread::yield();
            continue;
        }
        ring.consumeFloats(pairs.data(), count);
        numWrong += ring.currentTimestamp() != at / 512 * 512;
        for (int64_t i = 0; i < count; ++i) {
            numWrong += pairs[static_cast<size_t>(2 * i)] != static_cast<float>((at + i) % 65536);
            numWrong += pairs[static_cast<size_t>(2 * i + 1)] != upperPart(at + i);
        }
        at += count;
    }
    producer.join();
    EXPECT_EQ(numWrong, 0);
    EXPECT_EQ(ring.framesAvailableToConsume(), 0);
    RecordProperty("frames", std::to_string(at));
}
