#include "document/clips/SequentialReader.h"
#include "platform/DispatchQueue.h"

#include <atomic>
#include <gtest/gtest.h>

using namespace velloria;

namespace
{

/// Counts up in each track, in pieces of odd sizes.
class Counter final : public SequentialReader
{
public:
    Counter(size_t numTracks, int64_t numFrames)
        : SequentialReader(numTracks)
        , mNumFrames(numFrames)
    {
    }

    static float valueAt(size_t track, int64_t frame)
    {
        return static_cast<float>(frame) + static_cast<float>(track) * 0.5F;
    }

    int numBegun = 0;

private:
    void begin() override
    {
        ++numBegun;
        mNext = 0;
    }

    bool computeSome(std::vector<FloatBuffer>& frames) override
    {
        EXPECT_FALSE(mIsComputing.exchange(true)) << "two threads at once";
        const int64_t count = std::min(mNumFrames - mNext, int64_t{777});
        for (size_t track = 0; track < frames.size(); ++track)
            for (int64_t i = 0; i < count; ++i)
                frames[track].push_back(valueAt(track, mNext + i));
        mNext += count;
        mIsComputing = false;
        return count > 0;
    }

    const int64_t mNumFrames;
    int64_t mNext = 0;
    std::atomic<bool> mIsComputing = false;
};

void expectRead(SequentialReader& reader, size_t track, int64_t offset, size_t count, int64_t numFrames)
{
    FloatBuffer out(count, -1.0F);
    reader.read(track, offset, out);
    for (size_t i = 0; i < count; ++i) {
        const int64_t frame = offset + static_cast<int64_t>(i);
        ASSERT_EQ(out[i], frame < numFrames ? Counter::valueAt(track, frame) : 0.0F) << frame;
    }
}

TEST(SequentialReader, GivesWhatSeveralThreadsReadNearlyInOrder)
{
    constexpr int64_t numFrames = 100000;
    Counter counter(3, numFrames);
    runConcurrently(30, [&](int pass) {
        for (size_t track = 0; track < 3; ++track)
            expectRead(counter, track, int64_t{pass} * 3456, 3456, numFrames);
    });
    EXPECT_EQ(counter.numBegun, 1);
}

TEST(SequentialReader, BeginsAnewForWhatWasGivenAlready)
{
    Counter counter(1, 5000);
    for (const auto& [offset, count] :
         {std::pair<int64_t, size_t>{4000, 900}, {100, 300}, {150, 10}, {0, 6000}})
        expectRead(counter, 0, offset, count, 5000);
    EXPECT_EQ(counter.numBegun, 3) << "the part before the first read was waiting";
}

TEST(SequentialReader, KeepsLittleOfATrackThatNobodyReads)
{
    constexpr int64_t numFrames = 3000000;
    Counter counter(2, numFrames);
    expectRead(counter, 0, numFrames - 10, 10, numFrames);
    EXPECT_EQ(counter.numBegun, 1);
    expectRead(counter, 1, numFrames - 1000000, 1000, numFrames);
    EXPECT_EQ(counter.numBegun, 1);
    expectRead(counter, 1, 0, 1000, numFrames);
    EXPECT_EQ(counter.numBegun, 2);
}

} // namespace
