#include "formats/aiff/AiffFile.h"

#include "formats/kit/LedgerKit.h"
#include "formats/kit/SavingTestKit.h"

namespace velloria
{
namespace
{

using namespace test;

class AiffFileDamageTest : public SavingTest
{
protected:
    std::shared_ptr<AudioFile> openAiff(const QByteArray& bytes, MaybeError* error = nullptr) const
    {
        return AudioFileRegistry::audioFileWithPath(makeFile("in.aif", bytes), error);
    }
};

TEST_F(AiffFileDamageTest, RefusesWhatCannotBeReadWithOneSentence)
{
    const LogCapture log;
    const QByteArray sound = soundChunk("abcd");
    const auto withFormat = [&sound](const AiffFields& fields) {
        return form("AIFF", iffChunk("COMM", commonPayload(fields)) + sound);
    };
    const auto withRate = [&withFormat](const QByteArray& rate) { return withFormat({2, 1, 16, rate}); };
    const auto rateMessage = [](const QString& rate) {
        return QString("“in.aif” cannot be read: its header gives a sample rate of %1 Hz.").arg(rate);
    };
    const struct {
        QByteArray file;
        QString message;
    } cases[] = {
        {"", "“in.aif” is empty."},
        {"FORM", "“in.aif” is not a sound file that Velloria can read."},
        {form("8SVX", iffChunk("VHDR", QByteArray(40, '\0'))),
         "“in.aif” is not a sound file that Velloria can read."},
        {form("AIFF", ""), "“in.aif” cannot be read: it ends within its header."},
        {form("AIFF", iffChunk("COMM", QByteArray(18, '\0'))),
         "“in.aif” cannot be read: it ends within its header."},
        {form("AIFF", sound + iffChunk("NAME", "1234")),
         "“in.aif” cannot be read: its format chunk is missing."},
        {form("AIFF", iffChunk("COMM", QByteArray(17, '\0')) + sound),
         "“in.aif” cannot be read: its format chunk is cut short."},
        {form("AIFF", iffChunk("COMM", commonPayload({2, 1})) + iffChunk("NAME", "")),
         "“in.aif” cannot be read: it has no sound data."},
        {withFormat({0, 1, 16}), "“in.aif” cannot be read: its header says that it has no channels."},
        {withFormat({1, 1, 0}), "“in.aif” cannot be read: its header gives 0 bits to a sample."},
        {withFormat({1, 1, 33}), "“in.aif” holds 33-bit integers, which Velloria cannot read."},
        {withFormat({1, 1, -1}), "“in.aif” holds 65535-bit integers, which Velloria cannot read."},
        {withRate(QByteArray(10, '\0')), rateMessage("0")},
        {withRate(bytes("\xC0\x0E\xAC\x44\0\0\0\0\0\0")), rateMessage("-44100")},
        // Infinity, not a number, the largest number, the smallest one, and one of the least that differ from
        // 0.
        {withRate(bytes("\x7F\xFF\x80\0\0\0\0\0\0\0")), rateMessage("inf")},
        {withRate(bytes("\x7F\xFF\xC0\0\0\0\0\0\0\0")), rateMessage("nan")},
        {withRate(bytes("\x7F\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF")), rateMessage("inf")},
        {withRate(bytes("\0\0\0\0\0\0\0\0\0\1")), rateMessage("0")},
        {withRate(bytes("\x3C\x01\x80\0\0\0\0\0\0\0")), rateMessage("2.22507e-308")},
        {withRate(bytes("\x40\x1A\xFF\0\0\0\0\0\0\0")), rateMessage("2.67387e+08")},
    };
    for (const auto& c : cases) {
        MaybeError error;
        EXPECT_FALSE(openAiff(c.file, &error)) << c.message.toStdString();
        ASSERT_TRUE(error) << c.message.toStdString();
        EXPECT_EQ(error->message.toStdString(), c.message.toStdString());
    }
    EXPECT_TRUE(log.hasLogged("Error reading AIFF/AIFC header."));
}

TEST_F(AiffFileDamageTest, OpensDamagedFilesAsFarAsTheyGo)
{
    const QByteArray format = iffChunk("COMM", commonPayload({2, 3}));
    const auto sized = [](quint32 size, const QByteArray& samples) {
        return "SSND" + bigEndian32(size) + QByteArray(8, '\0') + samples;
    };
    const QByteArray samples = "abcdefghijkl";
    const QByteArray mark = bigEndian16(1) + bigEndian16(0) + bigEndian32(1) + "\1m";
    const QString cutShort = "“in.aif” ends before its sound does; what it holds was opened.";
    const QString neverCompleted = "The header of “in.aif” was never completed; everything up to the end of "
                                   "the file was taken as sound.";
    const struct {
        const char* what;
        QByteArray chunks;
        int64_t numFrames;
        size_t numMarkers;
        QStringList warnings;
    } cases[] = {
        {"size beyond the end", format + sized(1000, samples), 3, 0, {}},
        {"fewer samples than told", format + sized(16, samples.left(8)), 2, 0, {cutShort}},
        {"more samples than told", format + sized(24, samples + "mnop"), 3, 0, {}},
        {"negative sizes",
         iffChunk("COMM", commonPayload({2, -1})) + sized(0xFFFFFFF0, samples),
         3,
         0,
         {cutShort}},
        {"all ones",
         iffChunk("COMM", commonPayload({2, -1})) + sized(0xFFFFFFFF, samples),
         3,
         0,
         {neverCompleted}},
        {"never completed",
         iffChunk("COMM", commonPayload({2, 0})) + sized(0, samples),
         3,
         0,
         {neverCompleted}},
        {"never completed but for the sound's own header",
         iffChunk("COMM", commonPayload({2, 0})) + sized(8, samples),
         3,
         0,
         {neverCompleted}},
        {"only the frames never told",
         iffChunk("COMM", commonPayload({2, 0})) + sized(20, samples),
         3,
         0,
         {neverCompleted}},
        {"only the sound's size never told", format + sized(0, samples), 3, 0, {}},
        {"truly empty", iffChunk("COMM", commonPayload({2, 0})) + sized(8, ""), 0, 0, {}},
        {"empty with a chunk behind it",
         iffChunk("COMM", commonPayload({2, 0})) + sized(8, "") + iffChunk("MARK", mark),
         0,
         1,
         {}},
        {"first sample beyond the end",
         format + "SSND" + bigEndian32(20) + bigEndian32(0xFFFFFFFF) + bigEndian32(0) + samples,
         0,
         0,
         {cutShort}},
        {"sound before its format", sized(20, samples) + format, 3, 0, {}},
        {"odd chunk without pad byte",
         format + "NAME" + bigEndian32(1) + "x" + sized(20, samples) + iffChunk("MARK", mark),
         3,
         1,
         {}},
        {"chunks of size 0",
         format + iffChunk("aaaa", "") + iffChunk("aaaa", "") + sized(20, samples),
         3,
         0,
         {}},
        {"a chunk across the end", format + sized(20, samples) + "APPL" + bigEndian32(0xFFFFFFF0), 3, 0, {}},
        {"markers cut short",
         format + sized(20, samples) + iffChunk("MARK", bigEndian16(2) + mark.mid(2)),
         3,
         1,
         {"Some markers of “in.aif” could not be read."}},
        {"a marker's name cut short",
         format + sized(20, samples) + iffChunk("MARK", bigEndian16(1) + mark.mid(2, 6) + "\xFFx"),
         3,
         0,
         {"Some markers of “in.aif” could not be read."}},
        {"no tag in its chunk",
         format + sized(20, samples) + iffChunk("ID3 ", "rubbish"),
         3,
         0,
         {"The tags of “in.aif” could not be read."}},
        {"tag cut short",
         format + sized(20, samples) + "ID3 " + bigEndian32(99) + "ID3",
         3,
         0,
         {"The tags of “in.aif” could not be read."}},
    };
    const LogCapture log;
    for (const auto& c : cases) {
        MaybeError error;
        const auto file = openAiff("FORM" + bigEndian32(7) + "AIFF" + c.chunks, &error);
        ASSERT_TRUE(file) << c.what << ": " << error->message.toStdString();
        EXPECT_EQ(file->numberOfFrames(), c.numFrames) << c.what;
        EXPECT_EQ(signedSamples(*file), reversedSamples(samples, 2).left(c.numFrames * 4)) << c.what;
        EXPECT_EQ(markersOf(*file).size(), c.numMarkers) << c.what;
        EXPECT_EQ(file->warnings(), c.warnings) << c.what;
    }
}

TEST_F(AiffFileDamageTest, AFileWithoutAFrameNeedsNoSoundChunk)
{
    const QByteArray format = commonPayload({2, 0, 24});
    const QByteArray compressed = format + "sowt" + QByteArray(2, '\0');
    const QByteArray ima = format + "ima4" + QByteArray(2, '\0');
    const QByteArray name = iffChunk("NAME", "Title");
    for (const QByteArray& bytes :
         {form("AIFF", iffChunk("COMM", format) + name), form("AIFC", iffChunk("COMM", compressed) + name),
          form("AIFC", iffChunk("COMM", ima) + name)}) {
        const auto file = openAiff(bytes);
        ASSERT_TRUE(file);
        EXPECT_EQ(file->numberOfFrames(), 0);
        EXPECT_EQ(file->numberOfChannels(), 2U);
        EXPECT_EQ(file->metadata().title(), "Title");
        EXPECT_EQ(file->warnings(), QStringList());
        EXPECT_EQ(file->chunksNotKept(), QStringList());
        SilentProgress progress;
        MaybeError error;
        const size_t numClips = file->requiresConversion()
                                    ? file->convertedAudioClips(progress, &error).size()
                                    : AudioFile::pcmAudioClips(file).size();
        EXPECT_EQ(numClips, 2U);
    }
}

TEST_F(AiffFileDamageTest, LogsDamageOfMarkersAndTags)
{
    const LogCapture log;
    openAiff(aiff({}, "abcd", iffChunk("MARK", "\1") + iffChunk("ID3 ", "rubbish")));
    EXPECT_EQ(
        log.logged(),
        (QStringList{"Exception raised in -[AiffFile readMarkerChunk]: the chunk ends before its last marker",
                     "Exception raised in -[AiffFile readMetadata]: the chunk holds no complete ID3v2 tag"}));
}

TEST_F(AiffFileDamageTest, NamesTheChunksAndTagsThatASaveWouldDrop)
{
    const QByteArray tags =
        tag(3, version3Frame("TIT2", bytes("\0Title")) + version3Frame("TEXT", bytes("\0Poet")) +
                   version3Frame("TLEN", bytes("\0001000")));
    const struct {
        QByteArray chunks;
        QStringList notKept;
        QStringList tags;
    } cases[] = {
        {iffChunk("FLLR", "1234") + iffChunk("APPL", ""), {}, {}},
        {iffChunk("INST", "1") + iffChunk("MIDI", "1") + iffChunk("AESD", "1") + iffChunk("COMT", "1") +
             iffChunk("NAME", "1"),
         {},
         {}},
        {iffChunk("MIDI", "1") + iffChunk("MIDI", "2") + iffChunk("APPL", "stoc") + iffChunk("PEAK", "1") +
             iffChunk("LGWV", "x"),
         {"MIDI data (MIDI)", "data of another program (APPL)", "peak levels (PEAK)", "LGWV"},
         {}},
        {iffChunk("ID3 ", tags), {}, {}},
        {iffChunk("CHAN", bigEndian32(101U << 16 | 2) + QByteArray(8, '\0')), {}, {}},
        {iffChunk("CHAN", bigEndian32(121U << 16 | 6) + QByteArray(8, '\0')), {"channel layout (CHAN)"}, {}},
        {iffChunk("COMM", "more") + soundChunk("more"),
         {"another format (COMM)", "more sound data (SSND)"},
         {}},
        {iffChunk("COMM", "more").left(10), {"another format (COMM)"}, {}},
    };
    for (const auto& c : cases) {
        const auto file = openAiff(aiff({}, "abcd", {}, c.chunks));
        ASSERT_TRUE(file);
        EXPECT_EQ(chunksOutside(*file), c.notKept);
        EXPECT_EQ(file->tagsNotKept(), c.tags);
    }
}

TEST_F(AiffFileDamageTest, NamesBytesThatBelongToNothing)
{
    const auto sound = [](const QByteArray& payload) {
        return "SSND" + bigEndian32(static_cast<quint32>(8 + payload.size())) + bigEndian32(4) +
               bigEndian32(0) + payload;
    };
    const QByteArray common = iffChunk("COMM", commonPayload({2, 1, 16}));
    const struct {
        QByteArray file;
        QStringList notKept;
    } cases[] = {
        {form("AIFF", common + sound("ABCDabcd")), {"4 bytes in front of the sound"}},
        {form("AIFF", common + sound(QByteArray(4, '\0') + "abcd")), {}},
        {form("AIFF", common + sound(QByteArray(4, '\0') + "abcdefg")), {"3 bytes behind the last frame"}},
        {form("AIFF", common + soundChunk("abcd")) + "\1\2\3", {"3 bytes behind the last chunk"}},
        {form("AIFF", common + soundChunk("abcd")) + "\1rubbish behind", {"15 bytes behind the last chunk"}},
        {form("AIFF", common + soundChunk("abcd")) + QByteArray(30, '\0'), {}},
        {form("AIFF",
              iffChunk("COMM", commonPayload({2, 1, 16}) + QByteArray(600, 'x')) + soundChunk("abcd")),
         {"106 bytes of the format chunk"}},
    };
    for (const auto& c : cases) {
        const auto file = openAiff(c.file);
        ASSERT_TRUE(file);
        EXPECT_EQ(signedSamples(*file), "badc");
        EXPECT_EQ(file->chunksNotKept(), c.notKept);
    }
}

TEST_F(AiffFileDamageTest, SurvivesAFileThatIsCutAtAnyByte)
{
    const LogCapture log;
    AudioMetadata metadata;
    metadata.setTitle("Title");
    const QByteArray mark = bigEndian16(1) + bigEndian16(0) + bigEndian32(1) + "\1m";
    const QByteArray whole = aiff({}, "abcdefgh",
                                  iffChunk("MARK", mark) + iffChunk("NAME", "Title") +
                                      iffChunk("uMrk", archivedMarkers(markerList({{1, "m"}}))),
                                  iffChunk("ID3 ", metadata.id3Data()));
    const qsizetype sound = whole.indexOf("SSND");
    for (qsizetype length = 0; length <= whole.size(); ++length) {
        MaybeError error;
        const auto file = openAiff(whole.left(length), &error);
        ASSERT_NE(file == nullptr, !error) << length;
        ASSERT_EQ(file != nullptr, length >= sound + 8) << length;
        if (file) {
            const int64_t numFrames = std::clamp<int64_t>((length - sound - 16) / 4, 0, 2);
            ASSERT_EQ(file->numberOfFrames(), numFrames) << length;
            ASSERT_EQ(!file->warnings().isEmpty() && numFrames < 2, numFrames < 2) << length;
            ASSERT_EQ(markersOf(*file).size(), 1U) << length;
        }
    }
}

TEST_F(AiffFileDamageTest, LooksAtABoundedNumberOfChunks)
{
    QByteArray chunks;
    for (int i = 0; i < 200000; ++i)
        chunks += iffChunk(QByteArray::number(100000 + i % 900000).right(4).constData(), "");
    for (int i = 0; i < 2000; ++i)
        chunks += iffChunk(QByteArray::number(1000 + i).constData(), "x");
    const auto file = openAiff(aiff({}, "abcd", {}, chunks));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->numberOfFrames(), 1);
    EXPECT_LE(file->chunksNotKept().size(), 50);
}

TEST_F(AiffFileDamageTest, ReadsLessOfAFileThatShrinksWhileItIsOpen)
{
    const QByteArray samples = noiseBytes(4000, 1);
    const auto file = openAiff(aiff({}, samples));
    ASSERT_TRUE(file);
    std::filesystem::resize_file(path("in.aif"), 54 + 1001);
    EXPECT_EQ(signedSamples(*file).size(), 1001);
    EXPECT_EQ(signedSamples(*file).left(1000), reversedSamples(samples, 2).left(1000));
    std::filesystem::resize_file(path("in.aif"), 10);
    EXPECT_EQ(signedSamples(*file).size(), 0);
}

} // namespace
} // namespace velloria
