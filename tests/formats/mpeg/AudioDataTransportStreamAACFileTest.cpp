#include "formats/mpeg/AudioDataTransportStreamAACFile.h"

#include "formats/kit/CompressedFileKit.h"

namespace velloria::test
{

class AudioDataTransportStreamAACFileTest : public CompressedFileTest
{
};

TEST_F(AudioDataTransportStreamAACFileTest, GivesTheSoundBackInItsPlace)
{
    for (const int64_t numFrames : {int64_t{50003}, int64_t{1}, int64_t{0}}) {
        SCOPED_TRACE(numFrames);
        const Sound source = testSound(numFrames, 2);
        AudioDataTransportStreamAACFile writer(44100.0, 16, 2);
        writer.setBitRate(160000);
        save("a.aac", source, writer);
        const auto file = open("a.aac");
        ASSERT_TRUE(file);
        EXPECT_EQ(file->fileFormatUTI(), "public.aac-audio");
        const Sound got = decoded(*file);
        EXPECT_GE(got.numFrames(), numFrames);
        EXPECT_LT(got.numFrames(), numFrames + 1024);
        if (numFrames > 1) {
            EXPECT_EQ(lagOf(got.channel(0), source.channel(0)), 0);
            EXPECT_EQ(floatsFromFfmpeg("a.aac").size() / 2, static_cast<size_t>(got.numFrames()) + 2112);
        }
    }
}

TEST_F(AudioDataTransportStreamAACFileTest, IsKnownByItsHeadsWhateverTheName)
{
    writeSource("source.wav", testSound(30000, 1));
    ffmpeg("-i source.wav -c:a aac a.aac");
    const QByteArray bytes = readBytes("a.aac");
    writeBytes("b.mp3", bytes);
    EXPECT_EQ(open("b.mp3")->fileFormatUTI(), "public.aac-audio");
    writeBytes("c.aac", tag(3, QByteArray(500, '\0')) + bytes);
    const auto tagged = open("c.aac");
    ASSERT_TRUE(tagged);
    EXPECT_EQ(tagged->chunksNotKept(),
              QStringList("the first 2112 frames of the sound, taken for the encoder's delay"));
    EXPECT_EQ(decoded(*tagged).samples, decoded(*open("a.aac")).samples);
    // Two packets are shorter than what is left out of a whole file; what they hold is sound.
    const qsizetype second = bytes.indexOf(bytes.first(2), 7);
    const qsizetype third = bytes.indexOf(bytes.first(2), second + 7);
    writeBytes("d.aac", bytes.first(third));
    const auto piece = open("d.aac");
    EXPECT_EQ(piece->numberOfFrames(), 2048);
    EXPECT_EQ(decoded(*piece).numFrames(), 2048);
}

} // namespace velloria::test
