#include "CodecKit.h"

#include "platform/codec/AudioFormats.h"

namespace velloria::test
{

namespace
{

struct LosslessCase {
    const char* file;
    const char* codec;
    uint32_t bits;
    bool isFloat;
    const char* dataFormat = "lpcm";
};

} // namespace

class PacketReaderTest : public CodecTest
{
protected:
    std::unique_ptr<PacketReader> open(const std::string& name, FourCharCode hint = 0) const
    {
        MaybeError error;
        auto reader = PacketReader::open(path(name), hint, &error);
        EXPECT_TRUE(reader) << name << (error ? error->message.toStdString() : "");
        return reader;
    }
    /// What of a decoded file is sound.
    static Sound validPart(const PacketReader& reader, Sound sound, int64_t defaultPriming = 0)
    {
        const PacketTable table =
            reader.packetTable().value_or(PacketTable{sound.numFrames() - defaultPriming, defaultPriming, 0});
        const auto first =
            sound.samples.begin() + table.primingFrames * static_cast<int64_t>(sound.numChannels);
        const int64_t numSamples = table.numberOfValidFrames * static_cast<int64_t>(sound.numChannels);
        sound.samples = std::vector<float>(first, first + numSamples);
        return sound;
    }
};

TEST_F(PacketReaderTest, GivesLinearPcmOfEveryWidthAsItIsStored)
{
    const LosslessCase cases[] = {
        {"a.wav", "pcm_u8", 8, false},      {"b.wav", "pcm_s16le", 16, false},
        {"c.wav", "pcm_s24le", 24, false},  {"d.wav", "pcm_s32le", 32, false},
        {"e.wav", "pcm_f32le", 32, true},   {"f.wav", "pcm_f64le", 64, true},
        {"g.aifc", "pcm_s16le", 16, false}, {"h.aiff", "pcm_s24be", 24, false},
        {"i.aifc", "pcm_f32be", 32, true},  {"j.aifc", "pcm_f64be", 64, true},
        {"k.aiff", "pcm_s8", 8, false},     {"l.aiff", "pcm_s32be", 32, false},
        {"m.au", "pcm_s8", 8, false},       {"n.au", "pcm_s32be", 32, false},
        {"o.au", "pcm_f64be", 64, true},    {"p.caf", "pcm_s16be", 16, false},
        {"q.caf", "pcm_s24le", 24, false},  {"r.caf", "pcm_f32le", 32, true},
        {"s.w64", "pcm_s24le", 24, false},  {"t.mov", "pcm_s24be", 24, false},
        {"u.mov", "pcm_f32le", 32, true},
    };
    // A length that is no multiple of any block, and samples that fill all bits.
    Sound source{48000.0, 3, {}};
    std::mt19937 random(3);
    for (int i = 0; i < 3 * 10007; ++i)
        source.samples.push_back(static_cast<float>(static_cast<int32_t>(random())) * 0x1p-31F);
    writeSource("source.wav", source);
    QString line = "-i source.wav";
    for (const LosslessCase& each : cases)
        line += QStringLiteral(" -c:a %1 %2").arg(each.codec, each.file);
    ffmpeg(line);
    for (const LosslessCase& each : cases) {
        SCOPED_TRACE(each.file);
        const auto reader = open(each.file);
        ASSERT_TRUE(reader);
        const StreamDescription& description = reader->streamDescription();
        EXPECT_EQ(description.formatID(), fourCharCode("lpcm"));
        EXPECT_EQ(description.bitsPerChannel(), each.bits);
        EXPECT_EQ(description.formatFlags() & FormatFlag::kFloat, each.isFloat ? 1U : 0U);
        EXPECT_EQ(description.sampleRate(), 48000.0);
        EXPECT_EQ(reader->numFramesInPackets(), 10007);
        EXPECT_EQ(decodeAll(*reader).samples, floatsFromFfmpeg(each.file));
    }
}

TEST_F(PacketReaderTest, GivesCompandedAndLosslessSoundExactly)
{
    const LosslessCase cases[] = {
        {"a.au", "pcm_mulaw", 8, false, "ulaw"},
        {"b.wav", "pcm_alaw", 8, false, "alaw"},
        {"c.aifc", "pcm_alaw", 8, false, "alaw"},
        {"d.caf", "pcm_mulaw", 8, false, "ulaw"},
        {"e.m4a", "alac -sample_fmt s16p", 0, false, "alac"},
        {"f.m4a", "alac -sample_fmt s32p", 0, false, "alac"},
        {"g.caf", "alac -sample_fmt s16p", 0, false, "alac"},
        {"h.mp4", "flac -strict -2", 0, false, "flac"},
    };
    writeSource("source.wav", testSound(30011, 2));
    for (const LosslessCase& each : cases) {
        SCOPED_TRACE(each.file);
        ffmpeg(QStringLiteral("-i source.wav -c:a %1 %2").arg(each.codec, each.file));
        const auto reader = open(each.file);
        ASSERT_TRUE(reader);
        EXPECT_EQ(fourCharText(reader->dataFormat()), QByteArray(each.dataFormat));
        EXPECT_EQ(reader->streamDescription().bitsPerChannel(), each.bits);
        EXPECT_EQ(reader->numFramesInPackets(), 30011);
        EXPECT_EQ(decodeAll(*reader, 777).samples, floatsFromFfmpeg(each.file));
    }
    EXPECT_EQ(appleLosslessBits(open("e.m4a")->streamDescription().formatFlags()), 16U);
    EXPECT_EQ(appleLosslessBits(open("f.m4a")->streamDescription().formatFlags()), 24U);
}

TEST_F(PacketReaderTest, CountsBlocksOfAdpcmToTheFrame)
{
    writeSource("source.wav", testSound(20000, 1, 8000.0));
    for (const char* line : {"-c:a adpcm_ima_wav ima.wav", "-c:a adpcm_ms ms.wav",
                             "-c:a adpcm_ima_qt ima.aifc", "-c:a adpcm_ima_qt ima.caf"}) {
        ffmpeg(QStringLiteral("-i source.wav %1").arg(line));
        const QString name = QString::fromLatin1(line).section(' ', -1);
        SCOPED_TRACE(line);
        const auto reader = open(name.toStdString());
        ASSERT_TRUE(reader);
        const Sound sound = decodeAll(*reader);
        EXPECT_EQ(sound.numFrames(), reader->numFramesInPackets());
        EXPECT_GE(sound.numFrames(), 20000);
        EXPECT_EQ(sound.samples, floatsFromFfmpeg(name));
    }
    EXPECT_EQ(open("ima.aifc")->numFramesInPackets(), 20032) << "a multiple of 64";
    run("sox", {"source.wav", "-e", "gsm-full-rate", "gsm.wav"});
    EXPECT_EQ(decodeAll(*open("gsm.wav")).samples, floatsFromFfmpeg("gsm.wav"));
}

TEST_F(PacketReaderTest, LeavesOutWhatEncodersAddToTheFrame)
{
    const char* const lines[] = {
        "-c:a aac -b:a 160k a.m4a",
        "-c:a libmp3lame -b:a 192k b.mp3",
        "-c:a libmp3lame -q:a 2 c.mp3",
        "-c:a libmp3lame -b:a 64k -ar 22050 d.mp3",
    };
    const Sound source = testSound(100003, 2);
    writeSource("source.wav", source);
    ffmpeg("-i source.wav -ar 22050 low.wav");
    for (const char* line : lines) {
        SCOPED_TRACE(line);
        const QString name = QString::fromLatin1(line).section(' ', -1);
        const bool isLow = name == "d.mp3";
        const Sound wanted = isLow ? Sound{22050.0, 2, floatsFromFfmpeg("low.wav")} : source;
        ffmpeg(QStringLiteral("-i %1 %2").arg(isLow ? "low.wav" : "source.wav", line));
        const auto reader = open(name.toStdString());
        ASSERT_TRUE(reader);
        const Sound sound = decodeAll(*reader);
        EXPECT_EQ(sound.numFrames(), reader->numFramesInPackets());
        const Sound valid = validPart(*reader, sound);
        EXPECT_TRUE(reader->packetTable());
        EXPECT_EQ(valid.numFrames(), wanted.numFrames());
        for (size_t c = 0; c < 2; ++c)
            EXPECT_EQ(lagOf(valid.channel(c), wanted.channel(c)), 0);
        EXPECT_LT(differenceDB(valid.samples, floatsFromFfmpeg(name)), -100.0);
    }
}

TEST_F(PacketReaderTest, KnowsTheDelayOfTheLameProgram)
{
    const Sound source = testSound(50000, 1);
    writeSource("source.wav", source);
    ffmpeg("-i source.wav -c:a pcm_s16le short.wav");
    run("lame", {"--quiet", "-b", "128", "short.wav", "lame.mp3"});
    const auto reader = open("lame.mp3", FileType::kMp3);
    const Sound valid = validPart(*reader, decodeAll(*reader));
    EXPECT_EQ(valid.numFrames(), 50000);
    EXPECT_EQ(lagOf(valid.samples, source.samples), 0);
    // Without the first frame, which holds these numbers, every frame counts.
    run("lame", {"--quiet", "-t", "-b", "128", "short.wav", "bare.mp3"});
    const auto bare = open("bare.mp3");
    EXPECT_FALSE(bare->packetTable());
    EXPECT_EQ(bare->numFramesInPackets() % 1152, 0);
    EXPECT_EQ(decodeAll(*bare).numFrames(), bare->numFramesInPackets());
}

TEST_F(PacketReaderTest, DecodesLongFilesOnSeveralCoresAsOnOne)
{
    const Sound source = testSound(450007, 2, 32000.0);
    writeSource("source.wav", source);
    // Low rates have the reservoir that reaches back over the most packets.
    for (const char* line :
         {"-c:a libmp3lame -b:a 32k a.mp3", "-c:a libmp3lame -b:a 8k -ac 1 -ar 16000 b.mp3",
          "-c:a libmp3lame -q:a 0 c.mp3", "-c:a alac d.m4a", "-c:a aac -b:a 64k e.m4a"}) {
        SCOPED_TRACE(line);
        const QString name = QString::fromLatin1(line).section(' ', -1);
        ffmpeg(QStringLiteral("-stream_loop 1 -i source.wav %1").arg(line));
        const auto reader = open(name.toStdString());
        const Sound sound = decodeAll(*reader, 10007);
        EXPECT_EQ(sound.numFrames(), reader->numFramesInPackets());
        const std::vector<float> judged = floatsFromFfmpeg(name);
        const std::vector<float> valid = validPart(*reader, sound).samples;
        ASSERT_LE(valid.size(), judged.size());
        EXPECT_TRUE(std::equal(valid.begin(), valid.end(), judged.begin()));
    }
}

TEST_F(PacketReaderTest, SkipsToTheFrameInLongFiles)
{
    writeSource("source.wav", testSound(700000, 1, 32000.0));
    ffmpeg("-i source.wav -c:a alac x.m4a");
    const auto whole = open("x.m4a");
    const std::vector<float> all = decodeAll(*whole).samples;
    const auto reader = open("x.m4a");
    const auto decoder = StreamDecoder::open(*reader, nullptr);
    std::vector<float> piece(1000);
    float* const channels[] = {piece.data()};
    EXPECT_EQ(decoder->skip(300001), 300001);
    EXPECT_EQ(decoder->decode(1000, channels), 1000);
    EXPECT_TRUE(std::equal(piece.begin(), piece.end(), all.begin() + 300001));
    EXPECT_EQ(decoder->skip(1000000), 700000 - 301001);
    EXPECT_EQ(decoder->decode(1, channels), 0);
}

TEST_F(PacketReaderTest, CountsAdtsAndFindsItsSoundBehindTheUsualDelay)
{
    const Sound source = testSound(60000, 1);
    writeSource("source.wav", source);
    ffmpeg("-i source.wav -c:a aac -b:a 128k x.aac");
    const auto reader = open("x.aac", FileType::kAdts);
    EXPECT_FALSE(reader->packetTable());
    EXPECT_EQ(reader->numFramesInPackets() % 1024, 0);
    const Sound sound = decodeAll(*reader);
    EXPECT_EQ(sound.numFrames(), reader->numFramesInPackets());
    EXPECT_EQ(lagOf(sound.samples, source.samples), 1024) << "the delay of the encoder that made the file";
}

TEST_F(PacketReaderTest, ReadsEditsAndGaplessTagsOfMpeg4)
{
    writeSource("source.wav", testSound(30000, 1));
    ffmpeg("-i source.wav -c:a aac -b:a 96k -movie_timescale 44100 plain.m4a");
    EXPECT_EQ(open("plain.m4a")->packetTable()->numberOfValidFrames, 30000);
    EXPECT_EQ(open("plain.m4a")->packetTable()->primingFrames, 1024);
    // An edit that starts later and ends earlier than the sound.
    QByteArray cut = readBytes("plain.m4a");
    const auto edits = cut.indexOf("elst");
    ASSERT_GT(edits, 0);
    const auto patch = [&cut](qsizetype at, uint32_t number) {
        for (int i = 0; i < 4; ++i)
            cut[at + i] = static_cast<char>(number >> (24 - 8 * i));
    };
    patch(edits + 12, 20000);
    patch(edits + 16, 3000);
    writeBytes("cut.m4a", cut);
    EXPECT_EQ(open("cut.m4a")->packetTable()->numberOfValidFrames, 20000);
    EXPECT_EQ(open("cut.m4a")->packetTable()->primingFrames, 3000);
    // Without edits the decoder's user has to assume a delay.
    cut.replace(edits, 4, "free");
    writeBytes("none.m4a", cut);
    EXPECT_FALSE(open("none.m4a")->packetTable());
    const PacketTable table = {29000, 2112, 608};
    EXPECT_EQ(parseGaplessTag(gaplessTag(table)), table);
    EXPECT_FALSE(parseGaplessTag(" 00000000 00000840 tail"));
}

TEST_F(PacketReaderTest, RefusesWhatIsNotSoundInOneSentence)
{
    writeBytes("empty.mp3", "");
    writeBytes("text.mp3", QByteArray("Dear diary, today nothing happened.\n").repeated(400));
    writeBytes("list.mp3", "#EXTM3U\n#EXTINF:3,x\nhttp://127.0.0.1:9/x.ts\n");
    writeBytes("concat.aac", "ffconcat version 1.0\nfile 'source.wav'\n");
    ffmpeg("-f lavfi -i testsrc=size=64x64:rate=5:duration=1 -c:v mpeg4 silent.mp4");
    for (const char* name :
         {"empty.mp3", "text.mp3", "list.mp3", "concat.aac", "silent.mp4", "missing.wav"}) {
        for (const FourCharCode hint : {FourCharCode{0}, FileType::kMp3, FileType::kAdts}) {
            MaybeError error;
            EXPECT_FALSE(PacketReader::open(path(name), hint, &error)) << name;
            ASSERT_TRUE(error) << name;
            EXPECT_FALSE(error->message.contains('\n'));
        }
    }
}

TEST_F(PacketReaderTest, TakesTheSoundOfAFileThatAlsoHoldsPictures)
{
    writeSource("source.wav", testSound(22050, 1));
    ffmpeg("-f lavfi -i testsrc=size=64x64:rate=5:duration=1 -i source.wav -c:v mpeg4 -c:a alac film.mov");
    const auto reader = open("film.mov");
    EXPECT_EQ(decodeAll(*reader).numFrames(), 22050);
}

TEST_F(PacketReaderTest, StopsAtTheEndOfATruncatedFileAndSaysSoBefore)
{
    writeSource("source.wav", testSound(50000, 1));
    for (const char* line : {"-c:a pcm_f32le a.wav", "-c:a aac -b:a 96k -movflags +faststart b.m4a",
                             "-c:a libmp3lame -b:a 96k c.mp3", "-c:a aac -b:a 96k d.aac"}) {
        SCOPED_TRACE(line);
        const std::string name = QString::fromLatin1(line).section(' ', -1).toStdString();
        ffmpeg(QStringLiteral("-i source.wav %1").arg(line));
        const QByteArray whole = readBytes(name);
        writeBytes("cut-" + name, whole.left(whole.size() * 2 / 3));
        const auto reader = open("cut-" + name);
        ASSERT_TRUE(reader);
        EXPECT_GT(reader->numFramesInPackets(), 30000);
        EXPECT_LT(reader->numFramesInPackets(), 40000);
        EXPECT_EQ(decodeAll(*reader).numFrames(), reader->numFramesInPackets());
    }
}

TEST_F(PacketReaderTest, SurvivesFlippedBits)
{
    writeSource("source.wav", testSound(6000, 2));
    std::mt19937 random(11);
    for (const char* line : {"-c:a alac a.m4a", "-c:a aac -b:a 96k b.m4a", "-c:a libmp3lame -b:a 96k c.mp3",
                             "-c:a aac -b:a 96k d.aac", "-c:a adpcm_ima_qt e.aifc", "-c:a alac f.caf",
                             "-c:a pcm_s24le g.wav", "-c:a adpcm_ms h.wav"}) {
        SCOPED_TRACE(line);
        const std::string name = QString::fromLatin1(line).section(' ', -1).toStdString();
        ffmpeg(QStringLiteral("-i source.wav %1").arg(line));
        const QByteArray whole = readBytes(name);
        for (int round = 0; round < 40; ++round) {
            QByteArray damaged = whole;
            // Most damage goes where the tables are: near either end.
            for (int i = 0; i < 12; ++i) {
                const auto range =
                    static_cast<uint32_t>(std::min<qsizetype>(whole.size(), i % 2 ? 1200 : 200));
                const auto at = static_cast<qsizetype>(random() % range);
                const qsizetype position = i % 3 ? at : whole.size() - 1 - at;
                damaged[position] = static_cast<char>(damaged[position] ^ (1 << (random() % 8)));
            }
            writeBytes("damaged", damaged);
            MaybeError error;
            const auto reader = PacketReader::open(path("damaged"), 0, &error);
            ASSERT_EQ(reader == nullptr, error.has_value());
            if (reader && reader->streamDescription().channelsPerFrame() <= 8) {
                const int64_t numFrames = decodeAll(*reader).numFrames();
                EXPECT_LE(numFrames, reader->numFramesInPackets() + kMaxFramesPerPacket);
            }
        }
    }
}

TEST_F(PacketReaderTest, OpensPathsOfAnyBytes)
{
    writeSource("source.wav", testSound(1000, 1));
    const std::string strange = "con\xff\xfe:cat|%d.wav";
    std::filesystem::copy_file(path("source.wav"), path(strange));
    EXPECT_EQ(open(strange)->numFramesInPackets(), 1000);
    std::filesystem::remove(path(strange));
}

} // namespace velloria::test
