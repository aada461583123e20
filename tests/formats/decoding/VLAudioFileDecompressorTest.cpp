#include "formats/decoding/VLAudioFileDecompressor.h"

#include "platform/Log.h"
#include "platform/codec/CodecKit.h"

#include <QtEndian>

namespace velloria::test
{

namespace
{

template <typename Number> QByteArray bigEndian(Number number)
{
    QByteArray bytes(sizeof number, '\0');
    qToBigEndian(number, bytes.data());
    return bytes;
}

/// Bits, the most significant first.
class BitWriter
{
public:
    void put(uint64_t value, int numBits)
    {
        for (int bit = numBits - 1; bit >= 0; --bit) {
            if (mNumBits++ % 8 == 0)
                mBytes.append('\0');
            if (value >> bit & 1)
                mBytes.back() = static_cast<char>(mBytes.back() | 1 << (7 - (mNumBits - 1) % 8));
        }
    }
    const QByteArray& bytes() const { return mBytes; }

private:
    QByteArray mBytes;
    int64_t mNumBits = 0;
};

/// A CAF file with one mono Apple Lossless packet that stores its samples as they are.
QByteArray verbatimAppleLossless(int bits, const std::vector<int32_t>& samples)
{
    BitWriter packet;
    packet.put(0, 19);
    packet.put(1, 1); // has a frame count
    packet.put(0, 2);
    packet.put(1, 1); // verbatim
    packet.put(samples.size(), 32);
    for (const int32_t sample : samples)
        packet.put(static_cast<uint32_t>(sample) & (~0ULL >> (64 - bits)), bits);
    packet.put(7, 3);
    const auto chunk = [](const char* id, const QByteArray& payload) {
        return QByteArray(id) + bigEndian(static_cast<int64_t>(payload.size())) + payload;
    };
    constexpr uint32_t framesPerPacket = 4096;
    const int size = static_cast<int>(packet.bytes().size());
    const uint32_t flags = bits == 16 ? 1 : bits == 20 ? 2 : bits == 24 ? 3 : 4;
    const QByteArray description = bigEndian(44100.0) + "alac" + bigEndian(flags) + bigEndian(0U) +
                                   bigEndian(framesPerPacket) + bigEndian(1U) + bigEndian(0U);
    const QByteArray cookie = bigEndian(framesPerPacket) + '\0' + static_cast<char>(bits) +
                              QByteArray("\x28\x0a\x0e\x01") + bigEndian(uint16_t{255}) + bigEndian(0U) +
                              bigEndian(0U) + bigEndian(44100U);
    const QByteArray table = bigEndian(int64_t{1}) + bigEndian(static_cast<int64_t>(samples.size())) +
                             bigEndian(0U) + bigEndian(0U) + static_cast<char>(0x80 | size >> 7) +
                             static_cast<char>(size & 0x7F);
    return "caff" + QByteArray("\0\1\0\0", 4) + chunk("desc", description) + chunk("kuki", cookie) +
           chunk("pakt", table) + chunk("data", bigEndian(0U) + packet.bytes());
}

} // namespace

class VLAudioFileDecompressorTest : public CodecTest
{
protected:
    std::unique_ptr<VLAudioFileDecompressor> open(const std::string& name, const QString& uti = {}) const
    {
        MaybeError error;
        auto decoder = VLAudioFileDecompressor::forReadingFile(path(name), uti, &error);
        EXPECT_TRUE(decoder) << (error ? error->message.toStdString() : "");
        return decoder;
    }
    static std::vector<float> decode(VLAudioFileDecompressor& decoder)
    {
        std::vector<float> all;
        while (true) {
            const std::vector<float> some = decoder.convertOneBufferOfAudioData();
            EXPECT_LE(some.size() * sizeof(float), 65536U);
            if (some.empty())
                return all;
            all.insert(all.end(), some.begin(), some.end());
        }
    }
};

TEST_F(VLAudioFileDecompressorTest, GivesTheSoundAloneOfCompressedFiles)
{
    const Sound source = testSound(90001, 2);
    writeSource("source.wav", source);
    struct Case {
        const char* line;
        const char* dataFormat;
        int64_t numFrames;
        int64_t lag;
    };
    // The encoder's delay is 1024; from a file that does not tell, the usual 2112 are dropped.
    const Case cases[] = {
        {"-c:a aac -b:a 160k a.m4a", "aac ", 90001, 0},
        {"-c:a libmp3lame -b:a 160k b.mp3", "MPG3", 90001, 0},
        {"-c:a alac c.m4a", "alac", 90001, 0},
        {"-c:a aac -b:a 160k d.aac", "aac ", 89 * 1024 - 2112, -1088},
        {"-c:a adpcm_ima_qt e.aifc", "ima4", 90048, 0},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.line);
        ffmpeg(QStringLiteral("-i source.wav %1").arg(each.line));
        const auto decoder = open(QString::fromLatin1(each.line).section(' ', -1).toStdString());
        ASSERT_TRUE(decoder);
        EXPECT_EQ(fourCharText(decoder->dataFormat()), QByteArray(each.dataFormat));
        EXPECT_EQ(decoder->numberOfFrames(), each.numFrames);
        const Sound got{44100.0, 2, decode(*decoder)};
        EXPECT_EQ(got.numFrames(), each.numFrames);
        EXPECT_EQ(decoder->convertedFrameCount(), each.numFrames);
        for (size_t c = 0; c < 2; ++c)
            EXPECT_EQ(lagOf(got.channel(c), source.channel(c)), each.lag);
    }
}

TEST_F(VLAudioFileDecompressorTest, GivesTheSameSeparatedAndInterleaved)
{
    writeSource("source.wav", testSound(30000, 3));
    const auto decoder = open("source.wav");
    EXPECT_EQ(decoder->bitsPerSample(), 64U);
    EXPECT_TRUE(decoder->isFloat());
    const std::vector<float> interleaved = decode(*decoder);
    const auto again = open("source.wav");
    std::vector<std::vector<float>> planar;
    size_t at = 0;
    while (again->convertOneBuffer(planar) > 0) {
        ASSERT_EQ(planar.size(), 3U);
        for (size_t i = 0; i < planar[0].size(); ++i) {
            for (const std::vector<float>& channel : planar)
                ASSERT_EQ(channel[i], interleaved[at++]);
        }
    }
    EXPECT_EQ(at, interleaved.size());
    EXPECT_TRUE(again->convertOneBufferOfAudioData().empty());
}

TEST_F(VLAudioFileDecompressorTest, ReadsAppleLosslessOfEveryWidthExactly)
{
    std::mt19937 random(5);
    for (const int bits : {16, 20, 24, 32}) {
        SCOPED_TRACE(bits);
        std::vector<int32_t> samples(501);
        std::vector<float> expected;
        for (int32_t& sample : samples) {
            sample = static_cast<int32_t>(random()) >> (32 - bits);
            expected.push_back(static_cast<float>(static_cast<double>(sample) / std::pow(2.0, bits - 1)));
        }
        writeBytes("x.caf", verbatimAppleLossless(bits, samples));
        const auto decoder = open("x.caf");
        ASSERT_TRUE(decoder);
        EXPECT_EQ(decoder->bitsPerSample(), static_cast<uint32_t>(bits));
        EXPECT_EQ(decoder->numberOfFrames(), 501);
        EXPECT_EQ(decode(*decoder), expected);
    }
}

TEST_F(VLAudioFileDecompressorTest, LogsWhatItFindsAndWhyItFails)
{
    writeSource("source.wav", testSound(44100, 1));
    ffmpeg("-i source.wav -c:a aac -b:a 64k x.m4a");
    ffmpeg("-i source.wav -c:a aac -b:a 64k x.aac");
    LogCapture log;
    const auto decoder = open("x.m4a");
    EXPECT_TRUE(log.hasLogged("VLAudioFileDecompressor info: priming 1024, remainder 956 frames."));
    EXPECT_TRUE(log.hasLogged(QStringLiteral("Bit rate: %1").arg(decoder->bitRate())));
    EXPECT_NEAR(static_cast<double>(decoder->bitRate()), 64000.0, 8000.0);
    open("x.aac", "public.aac-audio");
    EXPECT_TRUE(log.hasLogged("VLAudioFileDecompressor info: priming 2112, remainder 0 frames."));
    writeBytes("text.txt", "nothing to hear");
    MaybeError error;
    EXPECT_FALSE(VLAudioFileDecompressor::forReadingFile(path("text.txt"), "public.mp3", &error));
    EXPECT_TRUE(log.hasLogged("AudioFileOpenURL() error: 1954115647"));
    EXPECT_EQ(error->code, Error::Code::unsupported);
    EXPECT_FALSE(VLAudioFileDecompressor::forReadingFile(path("missing"), {}, &error));
}

} // namespace velloria::test
