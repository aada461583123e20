#include "formats/file/AudioFile.h"

#include "document/clips/AudioData.h"
#include "formats/kit/FileTestKit.h"
#include "platform/UserDefaults.h"

namespace velloria
{
namespace
{

using namespace test;

/// A format of plain big-endian or little-endian PCM behind a header of 10 bytes.
class PlainFile : public AudioFile
{
public:
    PlainFile(double sampleRate, uint32_t bits, uint32_t numChannels, bool isLittleEndian = true,
              bool isOffset = false)
        : AudioFile(sampleRate, bits, numChannels)
        , mIsOffset(isOffset)
    {
        mSoundDataOffset = 10;
        mIsLittleEndian = isLittleEndian;
    }
    QString fileFormatUTI() const override { return "com.example.plain"; }
    bool hasOffsetEncoding() const override { return mIsOffset; }
    void markAs(bool isFloat, bool requiresConversion)
    {
        mIsFloat = isFloat;
        mRequiresConversion = requiresConversion;
    }

private:
    bool mIsOffset;
};

class AudioFileTest : public FileTest
{
};

TEST_F(AudioFileTest, OffersSampleSizes)
{
    const struct {
        uint32_t bits;
        int selectedTag;
    } cases[] = {{8, 8}, {16, 16}, {24, 24}, {32, 32}, {20, 16}, {64, 16}, {0, 16}};
    for (const auto& c : cases) {
        const FileOptions options = PlainFile(44100.0, c.bits, 2).fileOptions();
        EXPECT_EQ(options.label, "Sample Size:");
        EXPECT_EQ(options.selectedTag, c.selectedTag);
        ASSERT_EQ(options.items.size(), 4U);
        EXPECT_EQ(options.items[2].tag, 24);
        EXPECT_EQ(options.items[2].title, "24 bit");
    }
}

TEST_F(AudioFileTest, TakesSizesAndBitRatesFromTags)
{
    const struct {
        int tag;
        uint32_t bits;
        int64_t bitRate;
        double estimate;
    } cases[] = {
        {0, 16, 0, -1.0},
        {1, 1, 0, 4096.0},
        {8, 8, 0, 1000.0 * 2 + 4096},
        {20, 20, 0, 2000.0 * 2 + 4096},
        {64, 64, 0, 8000.0 * 2 + 4096},
        {65, 16, 0, -1.0},
        {3999, 16, 0, -1.0},
        {4000, 16, 4000, 500.0 / 8 + 4096},
        {1024000, 16, 1024000, 16000.0 + 4096},
        {1024001, 16, 0, -1.0},
    };
    for (const auto& c : cases) {
        PlainFile file(8000.0, 16, 2);
        file.setNumberOfFrames(1000);
        EXPECT_EQ(file.estimatedFileSizeWithTag(c.tag), c.estimate) << c.tag;
        file.configureWithPopUpTag(c.tag);
        EXPECT_EQ(file.bitsPerSample(), c.bits) << c.tag;
        EXPECT_EQ(file.bitRate(), c.bitRate) << c.tag;
    }
}

TEST_F(AudioFileTest, FillsInWhatWasNotChosen)
{
    const auto bitRateOf = [](uint32_t numChannels) {
        PlainFile file(44100.0, 0, numChannels);
        file.validateAndCorrectParameters();
        EXPECT_EQ(file.bitsPerSample(), 16U);
        return file.bitRate();
    };
    EXPECT_EQ(bitRateOf(1), 64000);
    EXPECT_EQ(bitRateOf(2), 128000);
    EXPECT_EQ(bitRateOf(6), 128000);
    UserDefaults::standard().setValue("file.bitrate", 192000);
    EXPECT_EQ(bitRateOf(1), 96000);
    UserDefaults::standard().removeValue("file.bitrate");

    PlainFile chosen(44100.0, 24, 2);
    chosen.setBitRate(320000);
    chosen.validateAndCorrectParameters();
    EXPECT_EQ(chosen.bitsPerSample(), 24U);
    EXPECT_EQ(chosen.bitRate(), 320000);
}

TEST_F(AudioFileTest, MakesOneClipPerChannelThatReadsInPlace)
{
    const auto file = std::make_shared<PlainFile>(44100.0, 16, 2);
    file->setFileHandle(FileHandle::openForReading(
        makeFile("in", QByteArray(10, 'x') + littleEndian16(0x4000) + littleEndian16(-0x4000) +
                           littleEndian16(1) + littleEndian16(0))));
    file->setNumberOfFrames(2);
    const std::vector<AudioClipPtr> clips = AudioFile::pcmAudioClips(file);
    ASSERT_EQ(clips.size(), 2U);
    EXPECT_EQ(clips[0]->sampleDataAtOffset(0, 2), (FloatBuffer{0.5F, 1.0F / 32768.0F}));
    EXPECT_EQ(clips[1]->sampleDataAtOffset(0, 2), (FloatBuffer{-0.5F, 0.0F}));
    EXPECT_TRUE(AudioFile::pcmAudioClips(std::make_shared<PlainFile>(44100.0, 16, 0)).empty());
}

TEST_F(AudioFileTest, ReadsNothingButTheSound)
{
    PlainFile file(44100.0, 8, 1);
    file.setFileHandle(FileHandle::openForReading(makeFile("in", "headerhead"
                                                                 "sound"
                                                                 "trailer")));
    file.setNumberOfFrames(5);
    std::vector<std::byte> out(20);
    EXPECT_EQ(file.readAudioDataAtOffset(10, out), 5);
    EXPECT_EQ(file.readAudioDataAtOffset(13, out), 2);
    EXPECT_EQ(static_cast<char>(out[1]), 'd');
    EXPECT_EQ(file.readAudioDataAtOffset(15, out), 0);
    EXPECT_EQ(file.readAudioDataAtOffset(-1, out), 0);
}

TEST_F(AudioFileTest, WritesFloatsAsIntegersOfItsSize)
{
    PlainFile file(44100.0, 32, 2);
    file.setFileHandle(newFile("out"));
    const std::array samples = {0.5F, -1.0F, 2.0F, 0.0F};
    EXPECT_FALSE(file.writeFloatData(samples, 3));
    EXPECT_EQ(bytesOf("out").mid(10 + 3 * 8), littleEndian32(0x40000000) + littleEndian32(-0x7FFFFFFF) +
                                                  littleEndian32(0x7FFFFFFF) + littleEndian32(0));
}

TEST_F(AudioFileTest, KnowsWhoseSamplesItStoresAlike)
{
    const PlainFile file(44100.0, 16, 2);
    EXPECT_TRUE(file.storesSamplesLike(PlainFile(8000.0, 16, 2)));
    EXPECT_TRUE(file.storesSamplesLike(PlainFile(8000.0, 12, 2)));
    EXPECT_FALSE(file.storesSamplesLike(PlainFile(44100.0, 24, 2)));
    EXPECT_FALSE(file.storesSamplesLike(PlainFile(44100.0, 16, 1)));
    EXPECT_FALSE(file.storesSamplesLike(PlainFile(44100.0, 16, 2, false)));
    EXPECT_TRUE(PlainFile(44100.0, 8, 1).storesSamplesLike(PlainFile(44100.0, 8, 1, false)));
    EXPECT_FALSE(PlainFile(44100.0, 8, 1).storesSamplesLike(PlainFile(44100.0, 8, 1, true, true)));
    PlainFile floats(44100.0, 16, 2);
    floats.markAs(true, false);
    EXPECT_FALSE(file.storesSamplesLike(floats));
    PlainFile encoded(44100.0, 16, 2);
    encoded.markAs(false, true);
    EXPECT_FALSE(file.storesSamplesLike(encoded));
}

TEST_F(AudioFileTest, ComplainsWhenATypeHasNoExtension)
{
    const LogCapture log;
    EXPECT_EQ(PlainFile(44100.0, 16, 2).defaultFileExtension(), QString());
    EXPECT_TRUE(log.hasLogged("AudioFile defaultExtension should not be empty!"));
}

} // namespace
} // namespace velloria
