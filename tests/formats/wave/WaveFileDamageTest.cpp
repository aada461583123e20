#include "formats/kit/FileTestKit.h"
#include "formats/tags/Id3TestTags.h"

namespace velloria
{
namespace
{

using namespace test;

/// Files that are broken in some way.
class WaveFileDamage : public FileTest
{
};

TEST_F(WaveFileDamage, RefusesWhatCannotBeReadWithOneSentence)
{
    const LogCapture log;
    const QByteArray data = chunk("data", "1234");
    const auto withFormat = [&data](const WaveFields& fields) {
        return riff(chunk("fmt ", formatPayload(fields)) + data);
    };
    const struct {
        QByteArray file;
        QString message;
    } cases[] = {
        {"", "“in.wav” is empty."},
        {"Not a sound file, but some text of 40 bytes.",
         "“in.wav” is not a sound file that Velloria can read."},
        {"RIFF", "“in.wav” is not a sound file that Velloria can read."},
        {"RIFF" + littleEndian32(20) + "AVI " + chunk("hdrl", "1234"),
         "“in.wav” is not a sound file that Velloria can read."},
        {riff(""), "“in.wav” cannot be read: its format chunk is missing."},
        {riff(data), "“in.wav” cannot be read: its format chunk is missing."},
        {riff(chunk("fmt ", "\1") + data), "“in.wav” cannot be read: its format chunk is cut short."},
        {riff(chunk("fmt ", formatPayload({}))), "“in.wav” cannot be read: it has no sound data."},
        {withFormat({1, 0, 44100, 16, 4}),
         "“in.wav” cannot be read: its header says that it has no channels."},
        {withFormat({1, 2, 0, 16}), "“in.wav” cannot be read: its header gives a sample rate of 0 Hz."},
        {withFormat({1, 2, 0xFFFFFFFF, 16}),
         "“in.wav” cannot be read: its header gives a sample rate of 4294967295 Hz."},
        {withFormat({1, 2, 44100, 16, 0}),
         "“in.wav” cannot be read: its header gives 0 bytes to a frame of 2 samples."},
        {withFormat({1, 2, 44100, 12, 3}),
         "“in.wav” cannot be read: its header gives 3 bytes to a frame of 2 samples."},
        {withFormat({1, 105, 44100, 8968, 1}),
         "“in.wav” cannot be read: its header gives 1 bytes to a frame of 105 samples."},
        {withFormat({1, 2, 44100, 16, 2}),
         "“in.wav” cannot be read: its header gives 8 bits of room to samples of 16 bits."},
        {withFormat({1, 1, 44100, 64}), "“in.wav” holds 64-bit integers, which Velloria cannot read."},
    };
    for (const auto& c : cases) {
        MaybeError error;
        EXPECT_FALSE(openBytes(c.file, &error));
        ASSERT_TRUE(error) << c.message.toStdString();
        EXPECT_EQ(error->message, c.message);
    }
}

TEST_F(WaveFileDamage, OpensDamagedFilesAsFarAsTheyGo)
{
    const QByteArray format = chunk("fmt ", formatPayload({}));
    const QByteArray samples = "abcdefghijkl";
    const QString cutShort = "“in.wav” ends before its sound does; what it holds was opened.";
    const QString neverCompleted =
        "The header of “in.wav” was never completed; everything up to the end of the "
        "file was taken as sound.";
    const QByteArray mark =
        chunk("MARK", littleEndian16(1) + littleEndian16(0) + littleEndian32(1) + bytes("\1m"));
    const LogCapture log;
    const struct {
        const char* what;
        QByteArray chunks;
        int64_t numFrames;
        size_t numMarkers;
        QStringList warnings;
    } cases[] = {
        {"size beyond the end", format + "data" + littleEndian32(1000) + samples, 3, 0, {cutShort}},
        {"all ones", format + "data" + littleEndian32(0xFFFFFFFF) + samples, 3, 0, {neverCompleted}},
        {"never completed", format + "data" + littleEndian32(0) + samples, 3, 0, {neverCompleted}},
        {"truly empty", format + "data" + littleEndian32(0), 0, 0, {}},
        {"empty with a chunk behind it", format + "data" + littleEndian32(0) + mark, 0, 1, {}},
        {"sound before its format", "data" + littleEndian32(12) + samples + format, 3, 0, {}},
        {"odd chunk with a pad byte",
         chunk("PAD ", "1") + format + "data" + littleEndian32(12) + samples + mark,
         3,
         1,
         {}},
        {"odd chunk without",
         "PAD " + littleEndian32(1) + "x" + format + chunk("data", samples) + mark,
         3,
         1,
         {}},
        {"odd sound without pad byte",
         format + "data" + littleEndian32(11) + samples.left(11) + mark,
         2,
         1,
         {}},
        {"odd chunk with a pad byte that is not zero",
         "PAD " + littleEndian32(1) + "xy" + format + "data" + littleEndian32(11) + samples.left(11) + "C" +
             mark,
         2,
         1,
         {}},
        {"odd chunk without, whose next header reads as one with a byte before it",
         "PAD " + littleEndian32(1) + "x" + chunk("LIST", QByteArray(0x20, '\0')) + format +
             chunk("data", samples) + mark,
         3,
         1,
         {}},
        {"chunks of size 0",
         format + chunk("aaaa", "") + chunk("aaaa", "") + chunk("data", samples),
         3,
         0,
         {}},
        {"a chunk across the end",
         format + chunk("data", samples) + "LIST" + littleEndian32(0xFFFFFFF0),
         3,
         0,
         {}},
        {"rubbish at the end", format + chunk("data", samples) + "\1\2\3", 3, 0, {}},
        {"markers cut short",
         format + chunk("data", samples) + chunk("MARK", mark.mid(8, 9)),
         3,
         0,
         {"Some markers of “in.wav” could not be read."}},
        {"no tag in its chunk",
         format + chunk("data", samples) + chunk("ID3 ", "rubbish"),
         3,
         0,
         {"The tags of “in.wav” could not be read."}},
        {"tag cut short",
         format + chunk("data", samples) + "ID3 " + littleEndian32(99) + "ID3",
         3,
         0,
         {"The tags of “in.wav” could not be read."}},
    };
    for (const auto& c : cases) {
        MaybeError error;
        const auto file = openBytes("RIFF" + littleEndian32(7) + "WAVE" + c.chunks, &error);
        ASSERT_TRUE(file) << c.what << ": " << error->message.toStdString();
        EXPECT_EQ(file->numberOfFrames(), c.numFrames) << c.what;
        EXPECT_EQ(signedSamples(*file), samples.left(c.numFrames * 4)) << c.what;
        EXPECT_EQ(markersOf(*file).size(), c.numMarkers) << c.what;
        EXPECT_EQ(file->warnings(), c.warnings) << c.what;
    }
}

TEST_F(WaveFileDamage, LogsDamageOfMarkersAndTags)
{
    const LogCapture log;
    openBytes(wave({}, "", chunk("MARK", "\1") + chunk("id3 ", "rubbish")));
    EXPECT_EQ(
        log.logged(),
        (QStringList{"Exception raised in -[WaveFile readMarkerChunk]: the chunk ends before its last marker",
                     "Exception raised in -[WaveFile readMetadata]: the chunk holds no complete ID3v2 tag"}));
}

TEST_F(WaveFileDamage, SurvivesAFileThatIsCutAtAnyByte)
{
    const LogCapture log;
    AudioMetadata metadata;
    metadata.setTitle("Title");
    const QByteArray whole =
        wave({}, "abcdefgh",
             chunk("MARK", littleEndian16(1) + littleEndian16(0) + littleEndian32(1) + bytes("\1m")) +
                 chunk("bext", "text") + chunk("ID3 ", metadata.id3Data()));
    for (qsizetype length = 0; length <= whole.size(); ++length) {
        MaybeError error;
        const auto file = openBytes(whole.left(length), &error);
        ASSERT_NE(file == nullptr, !error) << length;
        // The header takes 44 bytes.
        ASSERT_EQ(file != nullptr, length >= 44) << length;
        if (file) {
            ASSERT_EQ(file->numberOfFrames(), std::min<int64_t>(2, (length - 44) / 4)) << length;
            ASSERT_EQ(
                file->warnings().contains("“in.wav” ends before its sound does; what it holds was opened."),
                length < 52)
                << length;
        }
    }
}

TEST_F(WaveFileDamage, LooksAtABoundedNumberOfChunks)
{
    QByteArray chunks = chunk("fmt ", formatPayload({})) + chunk("data", "abcd");
    for (int i = 0; i < 200000; ++i)
        chunks += chunk(QByteArray::number(100000 + i % 900000).right(4).constData(), "");
    for (int i = 0; i < 2000; ++i)
        chunks += chunk(QByteArray::number(1000 + i).constData(), "x");
    const auto file = openBytes(riff(chunks));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->numberOfFrames(), 1);
    EXPECT_LE(file->chunksNotKept().size(), 50);
}

TEST_F(WaveFileDamage, ReadsLessOfAFileThatShrinksWhileItIsOpen)
{
    const auto file = openBytes(wave({}, noiseBytes(4000, 1)));
    ASSERT_TRUE(file);
    std::filesystem::resize_file(path("in.wav"), 44 + 1001);
    EXPECT_EQ(signedSamples(*file).size(), 1001);
    EXPECT_EQ(signedSamples(*file), noiseBytes(4000, 1).left(1001));
    std::filesystem::resize_file(path("in.wav"), 10);
    EXPECT_EQ(signedSamples(*file).size(), 0);
}

} // namespace
} // namespace velloria
