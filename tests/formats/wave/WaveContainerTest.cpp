#include "formats/wave/WaveContainer.h"

#include "formats/kit/SavingTestKit.h"
#include "formats/wave/WaveFile.h"

namespace velloria
{
namespace
{

using namespace test;

QByteArray littleEndian64(int64_t value)
{
    return littleEndian32(value) + littleEndian32(value >> 32);
}

/// The containers of a WAVE file beside plain RIFF.
class WaveContainerTest : public SavingTest
{
protected:
    /// As RF64 whatever its length: 24-bit noise with a marker and a title.
    std::shared_ptr<WaveFile> saveLong(const TrackDocument& document) const
    {
        auto file = std::make_shared<WaveFile>(44100.0, 24, static_cast<uint32_t>(document.trackCount()));
        file->setLargestRiffFile(1000);
        file->setMarkers(markerList({{7, "m"}}));
        AudioMetadata metadata;
        metadata.setTitle("Long");
        file->setMetadata(metadata);
        save(*file, "out.wav", document);
        return file;
    }
};

TEST_F(WaveContainerTest, WritesRF64WhereSizesOf32BitsDoNotDo)
{
    saveLong(noiseDocument(1001, 1));
    const QByteArray file = bytesOf("out.wav");
    const QByteArray format = littleEndian16(1) + littleEndian16(1) + littleEndian32(44100) +
                              littleEndian32(132300) + littleEndian16(3) + littleEndian16(24);
    EXPECT_EQ(file.left(80), "RF64" + littleEndian32(-1) + "WAVEds64" + littleEndian32(28) +
                                 littleEndian64(file.size() - 8) + littleEndian64(3003) +
                                 littleEndian64(1001) + littleEndian32(0) + "fmt " + littleEndian32(16) +
                                 format + "data" + littleEndian32(-1));
    EXPECT_EQ(file.mid(80 + 3003, 5), bytes("\0MARK"));
    const auto reopened = opened("out.wav");
    ASSERT_TRUE(reopened);
    EXPECT_EQ(reopened->numberOfFrames(), 1001);
    EXPECT_EQ(markersOf(*reopened).size(), 1U);
    EXPECT_EQ(reopened->metadata().title(), "Long");
    EXPECT_EQ(reopened->warnings() + reopened->chunksNotKept(), QStringList());
    const auto samples = framesOf(documentOf(reopened));
    EXPECT_TRUE(samples == framesByFfmpeg("out.wav"));
    const QByteArray info = run("sndfile-info", {argument("out.wav")});
    EXPECT_TRUE(info.contains("Frames      : 1001")) << info.toStdString();
}

TEST_F(WaveContainerTest, SaysBeforeThatTheFileBecomesRF64)
{
    // The length of what a plain header would take decides, to the byte: 44 of headers, markers behind.
    const int64_t mostFrames = (0xFFFFFFFF - 44) / 4;
    for (const auto& [numFrames, isLong] : {std::pair(mostFrames, false), {mostFrames + 1, true}}) {
        WaveFile file(44100.0, 32, 1);
        file.setNumberOfFrames(numFrames);
        EXPECT_EQ(!file.soundLosses().isEmpty(), isLong) << numFrames;
    }
    WaveFile file(22050.5, 8, 1);
    file.setNumberOfFrames(0xFFFFFFFF - 44 - 1);
    EXPECT_EQ(file.soundLosses(), QStringList("The sample rate of 22050.5 Hz becomes 22051 Hz."));
    file.setMarkers(markerList({{int64_t{1} << 32, "m"}}));
    EXPECT_EQ(file.soundLosses().size(), 3);
}

TEST_F(WaveContainerTest, KeepsLongSizesAndTellsThatRifxBecomesRiff)
{
    saveLong(noiseDocument(1001, 1));
    const QByteArray long64 = bytesOf("out.wav");
    for (const QByteArray& form : {QByteArray("RF64"), QByteArray("BW64")}) {
        const auto file = openBytes(form + long64.mid(4));
        ASSERT_TRUE(file);
        WaveFile writer(44100.0, 24, 1);
        writer.setOpenedFile(file);
        writer.setMarkers(file->markers());
        writer.setMetadata(file->metadata());
        EXPECT_EQ(writer.soundLosses(), QStringList());
        save(writer, "again.wav", documentOf(file));
        EXPECT_EQ(bytesOf("again.wav"), form + long64.mid(4));
    }
    const QByteArray big = "WAVE" +
                           iffChunk("fmt ", bigEndian16(1) + bigEndian16(1) + bigEndian32(44100) +
                                                bigEndian32(88200) + bigEndian16(2) + bigEndian16(16)) +
                           iffChunk("data", "abcd");
    WaveFile writer(44100.0, 16, 1);
    writer.setOpenedFile(openBytes("RIFX" + bigEndian32(static_cast<quint32>(big.size())) + big));
    EXPECT_EQ(writer.soundLosses(),
              QStringList("The file is written as RIFF, with little-endian numbers, not "
                          "as RIFX."));
}

TEST_F(WaveContainerTest, ReadsRF64AndBW64OfOthers)
{
    const QByteArray format = chunk("fmt ", formatPayload({1, 1, 44100, 16}));
    const QByteArray junk = "JUNK" + littleEndian32(-1) + QByteArray(6, 'j');
    const auto sizes = [](int64_t whole, int64_t sound, const QByteArray& table = littleEndian32(0)) {
        return chunk("ds64", littleEndian64(whole) + littleEndian64(sound) + littleEndian64(0) + table);
    };
    const auto file = [](const QByteArray& chunks, const char* form = "RF64") {
        return QByteArray(form) + littleEndian32(-1) + "WAVE" + chunks;
    };
    const QByteArray data = "data" + littleEndian32(-1) + "abcdef";
    const QByteArray table = littleEndian32(1) + "JUNK" + littleEndian64(6);
    const struct {
        const char* what;
        QByteArray file;
        int64_t numFrames;
        qsizetype numWarnings;
        QStringList unknown;
    } cases[] = {
        {"RF64", file(sizes(78, 6) + format + data), 3, 0, {}},
        {"BW64", file(sizes(78, 6) + format + data, "BW64"), 3, 0, {}},
        {"with a chunk behind",
         file(sizes(0, 6) + format + data + chunk("cue ", "1234")),
         3,
         0,
         {"cue points (cue )"}},
        {"with a table", file(sizes(0, 6, table) + junk + format + data), 3, 0, {}},
        {"with a size of its own", file(sizes(78, 0) + format + chunk("data", "abcdef")), 3, 0, {}},
        {"cut short", file(sizes(78, 1000) + format + data), 3, 1, {}},
        {"never completed", file(sizes(-1, -1) + format + data), 3, 1, {}},
        {"without sizes", file(format + data), 3, 1, {}},
    };
    const LogCapture log;
    for (const auto& c : cases) {
        const auto opened = openBytes(c.file);
        ASSERT_TRUE(opened) << c.what;
        EXPECT_EQ(opened->numberOfFrames(), c.numFrames) << c.what;
        EXPECT_EQ(signedSamples(*opened), "abcdef") << c.what;
        EXPECT_EQ(opened->warnings().size(), c.numWarnings) << c.what;
        const auto isAny = [](const FileItem&) { return true; };
        EXPECT_EQ(opened->ledger().namesOf(ItemKind::part, isAny), c.unknown) << c.what;
    }
    run("ffmpeg", {"-v", "error", "-y", "-f", "lavfi", "-i", "sine=duration=0.1", "-rf64", "always",
                   argument("theirs.wav")});
    EXPECT_EQ(opened("theirs.wav")->numberOfFrames(), 4410);
    EXPECT_EQ(opened("theirs.wav")->warnings(), QStringList());
}

TEST_F(WaveContainerTest, ReadsBigEndianFiles)
{
    for (const QString& encoding :
         {QString("8"), QString("16"), QString("24"), QString("32"), QString("f")}) {
        const QStringList options = encoding == "f" ? QStringList{"-e", "floating-point", "-b", "32"}
                                                    : QStringList{"-b", encoding, "-t", "wavpcm"};
        run("sox", QStringList{"-R", "-n", "-r", "22050", "-c", "2", "-B"} + options +
                       QStringList(argument("big.wav")) + QStringList{"synth", "0.05", "noise"});
        ASSERT_TRUE(bytesOf("big.wav").startsWith("RIFX"));
        const auto file = opened("big.wav");
        ASSERT_TRUE(file);
        EXPECT_EQ(file->numberOfFrames(), 1103);
        EXPECT_EQ(file->sampleRate(), 22050.0);
        EXPECT_FALSE(file->isLittleEndian());
        EXPECT_EQ(file->warnings() + file->chunksNotKept(), QStringList());
        if (encoding != "f") {
            EXPECT_EQ(signedSamples(*file),
                      run("sox", {argument("big.wav"), "-t", "raw", "-L", "-e", "signed-integer", "-"}));
            continue;
        }
        run("sox", {argument("big.wav"), "-L", argument("little.wav")});
        EXPECT_TRUE(decodedFrames("big.wav") == framesByFfmpeg("little.wav"));
    }
}

TEST_F(WaveContainerTest, TakesOnlyTextOutOfBigEndianChunks)
{
    const auto big = [](const char* ident, const QByteArray& payload) { return iffChunk(ident, payload); };
    const QByteArray format = bigEndian16(1) + bigEndian16(1) + bigEndian32(44100) + bigEndian32(88200) +
                              bigEndian16(2) + bigEndian16(16);
    const QByteArray chunks = "WAVE" + big("fmt ", format) + big("data", "abcd") + big("bext", "1234") +
                              big("iXML", "<x/>") + big("MARK", bytes("\0\1")) +
                              big("LIST", "INFO" + big("IART", "Artist"));
    const auto file = openBytes("RIFX" + bigEndian32(static_cast<quint32>(chunks.size())) + chunks);
    ASSERT_TRUE(file);
    EXPECT_EQ(signedSamples(*file), "badc");
    EXPECT_EQ(file->metadata().waveBWFChunks(), (QList<QByteArray>{chunk("iXML", "<x/>")}));
    EXPECT_EQ(file->chunksNotKept(), (QStringList{"broadcast description (bext)", "markers (MARK)"}));
    EXPECT_EQ(file->tagsNotKept(), QStringList("artist (IART)"));
}

TEST_F(WaveContainerTest, ReadsAFileBehindATag)
{
    AudioMetadata front;
    front.setTitle("In front");
    AudioMetadata inside;
    inside.setTitle("Inside");
    const QByteArray tag = front.id3Data();
    const auto plain = openBytes(tag + wave({1, 1, 44100, 16}, "abcd"));
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->fileFormatUTI(), "com.microsoft.waveform-audio");
    EXPECT_EQ(signedSamples(*plain), "abcd");
    EXPECT_EQ(plain->metadata().title(), "In front");
    EXPECT_EQ(plain->chunksNotKept() + plain->tagsNotKept(), QStringList());
    const auto both = openBytes(tag + wave({1, 1, 44100, 16}, "abcd", chunk("ID3 ", inside.id3Data())));
    EXPECT_EQ(both->metadata().title(), "Inside");
    EXPECT_EQ(both->chunksNotKept(), QStringList("tags in front of the file (ID3)"));
    // Under a name that says nothing of its type, too.
    makeFile("in.mp3", tag + wave({1, 1, 44100, 16}, "abcd"));
    EXPECT_EQ(opened("in.mp3")->numberOfFrames(), 2);
}

TEST_F(WaveContainerTest, TakesInFloatsAndExtensibleSamplesByTheirRoomInTheFrame)
{
    const QByteArray guid = bytes("\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71");
    const auto extensible = [&guid](int bits, int blockAlign, int subFormat) {
        return formatPayload({0xFFFE, 1, 48000, bits, blockAlign}) + littleEndian16(22) +
               littleEndian16(bits) + littleEndian32(4) + littleEndian16(subFormat) + guid;
    };
    const struct {
        QByteArray format;
        QByteArray stored;
        uint32_t bits;
    } cases[] = {
        {extensible(8, 1, 1), bytes("\xA0\x40"), 8},
        {extensible(20, 3, 1), bytes("\0\0\x20\0\0\xC0"), 24},
        {extensible(24, 4, 1), bytes("\0\0\0\x20\0\0\0\xC0"), 32},
        {extensible(32, 4, 3), bytes("\0\0\x80\x3E\0\0\0\xBF"), 32},
        {formatPayload({3, 1, 48000, 64}), bytes("\0\0\0\0\0\0\xD0\x3F\0\0\0\0\0\0\xE0\xBF"), 64},
    };
    const LogCapture log;
    for (const auto& c : cases) {
        const auto file = openBytes(riff(chunk("fmt ", c.format) + chunk("data", c.stored)));
        ASSERT_TRUE(file);
        EXPECT_TRUE(file->requiresConversion());
        EXPECT_EQ(file->bitsPerSample(), c.bits);
        EXPECT_EQ(framesOf(decoded(*file)), (FloatBuffer{0.25F, -0.5F})) << c.bits;
    }
}

} // namespace
} // namespace velloria
