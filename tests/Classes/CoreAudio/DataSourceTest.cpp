#include "Classes/CoreAudio/DataSource.h"
#include "platform/Log.h"

#include <gtest/gtest.h>

using namespace velloria;

TEST(DataSource, HasNothingByItself)
{
    SampleBlock block(2);
    EXPECT_FALSE(DataSource().requestDataWithNumFrames(10, block));
    EXPECT_TRUE(block.empty());
}

TEST(DataSource, InterleavesFrameByFrameAndBack)
{
    const SampleBlock block = {{1, 2, 3}, {10, 20, 30}, {100, 200, 300}};
    const FloatBuffer interleaved = DataSource::interleaveAudioData(block);
    EXPECT_EQ(interleaved, (FloatBuffer{1, 10, 100, 2, 20, 200, 3, 30, 300}));
    EXPECT_EQ(DataSource::deinterleaveAudioData(interleaved, 3), block);
    EXPECT_TRUE(DataSource::interleaveAudioData({}).empty());
}

TEST(DataSource, DeinterleavesWholeFramesOnly)
{
    const FloatBuffer sevenSamples = {1, 2, 3, 4, 5, 6, 7};
    EXPECT_EQ(DataSource::deinterleaveAudioData(sevenSamples, 2), (SampleBlock{{1, 3, 5}, {2, 4, 6}}));
}

TEST(DataSource, RefusesBuffersOfDifferentLengths)
{
    const LogCapture log;
    EXPECT_TRUE(DataSource::interleaveAudioData({FloatBuffer(2), FloatBuffer(3)}).empty());
    EXPECT_TRUE(log.hasLogged(QStringLiteral("Noninterleaved data array is not of uniform length.")));
}
