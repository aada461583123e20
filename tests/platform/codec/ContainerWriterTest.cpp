#include "CodecKit.h"

#include "platform/codec/AudioConverterWrapper.h"
#include "platform/codec/AudioFormats.h"
#include "platform/codec/ContainerWriter.h"

#include <QtEndian>

namespace velloria::test
{

namespace
{

class SoundSource : public AudioConverterDataSource
{
public:
    explicit SoundSource(const Sound& sound)
        : mSound(sound)
    {
    }
    std::vector<float> interleavedDataForAudioConverter(AudioConverterWrapper&,
                                                        int64_t numberOfPackets) override
    {
        const size_t wanted = static_cast<size_t>(numberOfPackets) * mSound.numChannels;
        const size_t count = std::min({wanted, mSound.samples.size() - mOffset, 333 * mSound.numChannels});
        const auto first = mSound.samples.begin() + static_cast<ptrdiff_t>(mOffset);
        mOffset += count;
        return {first, first + static_cast<ptrdiff_t>(count)};
    }

private:
    const Sound& mSound;
    size_t mOffset = 0;
};

StreamDescription compressed(FourCharCode format, const Sound& sound, uint32_t bits = 0)
{
    StreamDescription description(sound.sampleRate, static_cast<uint32_t>(sound.numChannels));
    description.setFormat(format);
    description.audioStreamBasicDescription().formatFlags = appleLosslessFlags(bits);
    description.useAudioFormatToValidateDescription();
    return description;
}

/// An AIFF-C file around encoded sound.
QByteArray aifc(const StreamDescription& format, const QByteArray& sound)
{
    const auto number = [](auto value) {
        QByteArray bytes(sizeof value, '\0');
        qToBigEndian(value, bytes.data());
        return bytes;
    };
    const auto chunk = [&number](const QByteArray& id, const QByteArray& payload) {
        return id + number(static_cast<uint32_t>(payload.size())) + payload;
    };
    const auto numPackets = static_cast<uint32_t>(sound.size() / format.bytesPerPacket());
    // 44100 as an 80-bit float.
    const QByteArray rate = QByteArray::fromHex("400eac44000000000000");
    const QByteArray common = number(static_cast<uint16_t>(format.channelsPerFrame())) + number(numPackets) +
                              number(uint16_t{16}) + rate + fourCharText(format.formatID()) +
                              QByteArray(2, '\0');
    const QByteArray body = "AIFC" + chunk("COMM", common) + chunk("SSND", QByteArray(8, '\0') + sound);
    return chunk("FORM", body);
}

} // namespace

class ContainerWriterTest : public CodecTest
{
protected:
    struct Options {
        int64_t bitRate = 0;
        int64_t numFrames = 0;
    };

    PacketTable write(const std::string& name, FourCharCode type, const StreamDescription& format,
                      const Sound& sound, const Options& options) const
    {
        MaybeError error;
        const auto encoder = PacketEncoder::create(format, options.bitRate, &error);
        EXPECT_TRUE(encoder) << (error ? error->message.toStdString() : "");
        ContainerWriter writer(newFile(name), type, {options.numFrames, 0});
        EXPECT_FALSE(writer.begin(*encoder));
        int64_t numPackets = 0;
        const auto sink = [&](AVPacket& packet) {
            ++numPackets;
            return writer.writePacket(packet);
        };
        const std::span<const float> samples(sound.samples);
        const size_t step = 1001 * sound.numChannels;
        for (size_t at = 0; at < samples.size(); at += step)
            EXPECT_FALSE(encoder->encode(samples.subspan(at, std::min(step, samples.size() - at)), sink));
        EXPECT_FALSE(encoder->finish(sink));
        PacketTable table{sound.numFrames(), encoder->primingFrames(), 0};
        if (format.formatID() == DataFormat::kAac)
            table.remainderFrames =
                numPackets * encoder->framesPerPacket() - table.primingFrames - table.numberOfValidFrames;
        EXPECT_FALSE(writer.finish(table));
        return table;
    }
    QString probe(const QString& name, const QString& entries) const
    {
        return QString::fromUtf8(
                   run("ffprobe", {"-v", "error", "-show_entries", entries, "-of", "csv=p=0", name}))
            .trimmed();
    }
};

TEST_F(ContainerWriterTest, KeepsAppleLosslessToTheBit)
{
    for (const uint32_t bits : {16U, 24U}) {
        for (const int64_t numFrames : {1, 4096, 30011}) {
            SCOPED_TRACE(testing::Message() << bits << " bits, " << numFrames << " frames");
            Sound sound = testSound(numFrames, 2);
            const auto scale = static_cast<float>(1 << (bits - 1));
            for (float& sample : sound.samples)
                sample = std::round(sample * scale) / scale;
            sound.samples[0] = -1.0F;
            const PacketTable table =
                write("x.m4a", ContainerType::kMpeg4, compressed(DataFormat::kAppleLossless, sound, bits),
                      sound, {0, numFrames});
            EXPECT_EQ(table, (PacketTable{numFrames, 0, 0}));
            EXPECT_EQ(floatsFromFfmpeg("x.m4a"), sound.samples);
            const auto reader = PacketReader::open(path("x.m4a"), 0, nullptr);
            EXPECT_EQ(reader->packetTable(), table);
            EXPECT_EQ(appleLosslessBits(reader->streamDescription().formatFlags()), bits);
            EXPECT_EQ(decodeAll(*reader).samples, sound.samples);
        }
    }
}

TEST_F(ContainerWriterTest, GivesAacBackInPlaceAndAtItsLength)
{
    const Sound sound = testSound(100003, 2);
    for (const int64_t expectedFrames : {int64_t{0}, sound.numFrames()}) {
        const PacketTable table = write("x.m4a", ContainerType::kMpeg4, compressed(DataFormat::kAac, sound),
                                        sound, {160000, expectedFrames});
        EXPECT_EQ(table.numberOfValidFrames, sound.numFrames());
        EXPECT_EQ(probe("x.m4a", "stream=codec_name,sample_rate,channels,duration_ts"), "aac,44100,2,100003");
        EXPECT_NEAR(probe("x.m4a", "stream=bit_rate").toDouble(), 160000.0, 16000.0);
        const auto reader = PacketReader::open(path("x.m4a"), 0, nullptr);
        EXPECT_EQ(reader->packetTable(), table);
        // Another reader leaves out the delay too.
        std::vector<float> judged = floatsFromFfmpeg("x.m4a");
        const Sound heard{44100.0, 2, judged};
        EXPECT_EQ(lagOf(heard.channel(1), sound.channel(1)), 0);
        EXPECT_LT(differenceDB(judged, sound.samples), -20.0);
        const QByteArray bytes = readBytes("x.m4a");
        EXPECT_EQ(bytes.indexOf("moov") < bytes.indexOf("mdat"), expectedFrames > 0);
        EXPECT_FALSE(bytes.contains("Lavf"));
    }
}

TEST_F(ContainerWriterTest, WritesAdtsBehindTheDelayOfTheEncoder)
{
    const Sound sound = testSound(50000, 1);
    const PacketTable table =
        write("x.aac", ContainerType::kAdts, compressed(DataFormat::kAac, sound), sound, {128000, 0});
    const std::vector<float> judged = floatsFromFfmpeg("x.aac");
    EXPECT_EQ(lagOf(judged, sound.samples), table.primingFrames);
    EXPECT_EQ(static_cast<int64_t>(judged.size()), table.primingFrames + 50000 + table.remainderFrames);
    EXPECT_LT(table.remainderFrames, 1024);
}

TEST_F(ContainerWriterTest, SaysThatAFileCannotBeWrittenTo)
{
    const Sound sound = testSound(30000, 2);
    writeBytes("readonly.m4a", "");
    const auto encoder = PacketEncoder::create(compressed(DataFormat::kAppleLossless, sound, 24), 0, nullptr);
    ContainerWriter writer(FileHandle::openForReading(path("readonly.m4a")), ContainerType::kMpeg4, {});
    MaybeError error = writer.begin(*encoder);
    const auto sink = [&writer](AVPacket& packet) { return writer.writePacket(packet); };
    if (!error)
        error = encoder->encode(sound.samples, sink);
    if (!error)
        error = encoder->finish(sink);
    if (!error)
        error = writer.finish({sound.numFrames(), 0, 0});
    EXPECT_TRUE(error);
}

TEST_F(ContainerWriterTest, SaysWhatCannotBeEncoded)
{
    for (const double rate : {12345.0, 192000.0, 44100.5}) {
        const Sound sound{rate, 2, {}};
        MaybeError error;
        EXPECT_FALSE(PacketEncoder::create(compressed(DataFormat::kAac, sound), 0, &error));
        ASSERT_TRUE(error);
        EXPECT_TRUE(error->message.contains("AAC cannot hold 2 channels at")) << error->message.toStdString();
    }
}

TEST_F(ContainerWriterTest, TakesWildSamplesForWhatTheyAre)
{
    Sound sound = testSound(20000, 1);
    sound.samples[5000] = std::numeric_limits<float>::quiet_NaN();
    sound.samples[5001] = std::numeric_limits<float>::infinity();
    sound.samples[5002] = 3e38F;
    sound.samples[5003] = 2.0F;
    write("x.m4a", ContainerType::kMpeg4, compressed(DataFormat::kAac, sound), sound, {96000, 20000});
    write("y.m4a", ContainerType::kMpeg4, compressed(DataFormat::kAppleLossless, sound, 16), sound,
          {0, 20000});
    const std::vector<float> lossless = floatsFromFfmpeg("y.m4a");
    EXPECT_EQ(lossless[5000], 0.0F);
    EXPECT_EQ(lossless[5001], 0.0F);
    EXPECT_EQ(lossless[5002], 32767.0F / 32768.0F);
    EXPECT_EQ(lossless[5003], 32767.0F / 32768.0F);
    const std::vector<float> lossy = floatsFromFfmpeg("x.m4a");
    EXPECT_GE(lossy.size(), 20000U);
    EXPECT_TRUE(std::all_of(lossy.begin(), lossy.end(), [](float sample) { return std::isfinite(sample); }));
}

TEST_F(ContainerWriterTest, EncodesPacketsThatOtherProgramsDecode)
{
    const Sound sound = testSound(10001, 2);
    struct Case {
        const char* format;
        size_t numFrames;
        double noiseDB;
    };
    for (const Case each :
         {Case{"ima4", 10048, -20.0}, Case{"alaw", 10001, -30.0}, Case{"ulaw", 10001, -30.0}}) {
        SCOPED_TRACE(each.format);
        const StreamDescription format = compressed(qFromBigEndian<uint32_t>(each.format), sound);
        MaybeError error;
        const auto converter =
            AudioConverterWrapper::withInputFormat(StreamDescription(44100.0, 2), format, &error);
        ASSERT_TRUE(converter);
        EXPECT_EQ(converter->outputFramesPerPacket(), format.framesPerPacket());
        SoundSource source(sound);
        converter->setDataSource(&source);
        QByteArray encoded;
        while (true) {
            const QByteArray some = converter->convertedDataWithNumPackets(50);
            EXPECT_LE(some.size(), 50 * format.bytesPerPacket());
            if (some.isEmpty())
                break;
            encoded += some;
        }
        EXPECT_FALSE(converter->error());
        writeBytes("x.aifc", aifc(format, encoded));
        const std::vector<float> judged = floatsFromFfmpeg("x.aifc");
        EXPECT_EQ(judged.size(), 2 * each.numFrames);
        EXPECT_LT(differenceDB(judged, sound.samples), each.noiseDB);
        EXPECT_EQ(decodeAll(*PacketReader::open(path("x.aifc"), 0, nullptr)).samples, judged);
    }
}

} // namespace velloria::test
