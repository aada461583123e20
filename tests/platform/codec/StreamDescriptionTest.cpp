#include "platform/Log.h"
#include "platform/codec/AudioFormats.h"

#include <gtest/gtest.h>

namespace velloria
{

TEST(StreamDescription, DescribesInterleavedAndSeparateFloats)
{
    const AudioStreamBasicDescription together =
        StreamDescription::descriptionWithSampleRate(48000.0, 3).audioStreamBasicDescription();
    EXPECT_EQ(together.formatID, fourCharCode("lpcm"));
    EXPECT_EQ(together.formatFlags, 1U);
    EXPECT_EQ(together.bytesPerPacket, 12U);
    EXPECT_EQ(together.bytesPerFrame, 12U);
    EXPECT_EQ(together.bitsPerChannel, 32U);
    const StreamDescription apart = StreamDescription::nonInterleavedChannels(48000.0, 3);
    EXPECT_EQ(apart.formatFlags(), 0x21U);
    EXPECT_EQ(apart.bytesPerPacket(), 4U);
    EXPECT_EQ(apart.channelsPerFrame(), 3U);
}

TEST(StreamDescription, TakesBitsForBytesUntilItIsValidated)
{
    StreamDescription description(44100.0);
    description.setNumChannels(2);
    EXPECT_EQ(description.bytesPerFrame(), 64U);
    EXPECT_EQ(description.bytesPerPacket(), 64U);
    description.useAudioFormatToValidateDescription();
    EXPECT_EQ(description.bytesPerFrame(), 8U);
    EXPECT_EQ(description.bytesPerPacket(), 8U);
}

TEST(StreamDescription, CompletesCompressedFormats)
{
    StreamDescription description(44100.0, 2);
    description.setFormat(fourCharCode("ima4"));
    description.useAudioFormatToValidateDescription();
    EXPECT_EQ(description.bytesPerPacket(), 68U);
    EXPECT_EQ(description.framesPerPacket(), 64U);
    EXPECT_EQ(description.bitsPerChannel(), 0U);
    description.setFormat(fourCharCode("ulaw"));
    description.useAudioFormatToValidateDescription();
    EXPECT_EQ(description.bytesPerPacket(), 2U);
    EXPECT_EQ(description.bitsPerChannel(), 8U);
}

TEST(StreamDescription, LogsAFormatThatNobodyKnows)
{
    LogCapture log;
    StreamDescription description(44100.0, 2);
    description.setFormat(fourCharCode("QDM2"));
    description.useAudioFormatToValidateDescription();
    EXPECT_TRUE(log.hasLogged("Error in useAudioFormatToValidateDescription: 1718449215"));
    EXPECT_EQ(description.bytesPerPacket(), 8U);
}

TEST(AudioFormats, MapsWidthsOfAppleLosslessBothWays)
{
    for (const uint32_t bits : {16U, 20U, 24U, 32U})
        EXPECT_EQ(appleLosslessBits(appleLosslessFlags(bits)), bits);
    EXPECT_EQ(appleLosslessBits(0), 16U);
    EXPECT_EQ(appleLosslessFlags(17), 0U);
}

} // namespace velloria
