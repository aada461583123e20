#include "formats/ogg/OggLedger.h"

#include "formats/flac/FLACFile.h"
#include "formats/kit/DecodingTestKit.h"
#include "formats/vorbis/OggVorbisFile.h"

namespace velloria::test
{

class OggLedgerTest : public DecodingTest
{
protected:
    void SetUp() override
    {
        save("one.ogg", "one", 30000);
        save("two.ogg", "two", 20000);
    }

    void save(const std::string& name, const QString& title, size_t numFrames) const
    {
        OggVorbisFile file(44100.0, 16, 2);
        AudioMetadata metadata;
        metadata.setTitle(title);
        metadata.setArtist("same");
        file.setMetadata(metadata);
        DecodingTest::save(file, name, noiseDocument(numFrames, 2));
    }

    /// What is told of a file; all of its bytes are accounted for, else opening would end the test.
    QStringList told(const std::string& name) const
    {
        const auto file = opened(name);
        EXPECT_TRUE(file);
        return file ? file->chunksNotKept() + file->tagsNotKept() +
                          file->ledger().namesNotKept(ItemKind::stream)
                    : QStringList();
    }
};

TEST_F(OggLedgerTest, NamesWhatStandsBetweenPagesAndWhatLaterPartsSay)
{
    const QByteArray one = bytesOf("one.ogg");
    const QByteArray two = bytesOf("two.ogg");
    EXPECT_EQ(told("one.ogg"), QStringList());
    makeFile("chained.ogg", one + two);
    EXPECT_EQ(told("chained.ogg"), QStringList("title “two” of a later part of the file"));
    const qsizetype secondPage = one.indexOf("OggS", 4);
    makeFile("rubbish.ogg", one.left(secondPage) + QByteArray(500, 'r') + one.mid(secondPage));
    EXPECT_EQ(told("rubbish.ogg"), QStringList("500 bytes between the pages"));
    makeFile("behind.ogg", one + QByteArray("TAG").leftJustified(128, 'x'));
    EXPECT_EQ(told("behind.ogg"), QStringList("128 bytes between the pages"));
    makeFile("cut.ogg", one.chopped(100));
    EXPECT_EQ(told("cut.ogg").size(), 1);
}

TEST_F(OggLedgerTest, TellsOfFurtherFlacSoundInsteadOfTakingItForDamage)
{
    FLACFile flac(44100.0, 16, 2);
    DecodingTest::save(flac, "a.flac", noiseDocument(30000, 2));
    for (const QString& serial : {QString("1"), QString("2")})
        run("flac", {"-s", "--ogg", "--serial-number=" + serial, argument("a.flac"), "-o",
                     argument("flac" + serial.toStdString() + ".oga")});
    const QByteArray one = bytesOf("flac1.oga");
    EXPECT_EQ(told("flac1.oga"), QStringList());
    // Also under the same number, as of a file that was put behind itself.
    for (const QByteArray& next : {one, bytesOf("flac2.oga")}) {
        makeFile("chain.oga", one + next);
        const auto first = opened("flac1.oga");
        const auto file = opened("chain.oga");
        ASSERT_TRUE(first && file);
        EXPECT_EQ(channelsOf(*file), channelsOf(*first));
        EXPECT_EQ(file->warnings(),
                  QStringList("“chain.oga” holds several recordings one behind the other; the "
                              "first one was opened."));
        EXPECT_EQ(file->chunksNotKept() + file->ledger().namesNotKept(ItemKind::stream),
                  QStringList("FLAC sound"));
        FLACFile writer(44100.0, 16, 2);
        writer.setOpenedFile(file);
        EXPECT_TRUE(writer.refusalToReplace(*file));
    }
}

TEST_F(OggLedgerTest, NamesTheOtherStreamsOfAFilm)
{
    run("ffmpeg", {"-v",
                   "error",
                   "-f",
                   "lavfi",
                   "-i",
                   "testsrc=d=1:s=64x64",
                   "-i",
                   argument("one.ogg"),
                   "-i",
                   argument("two.ogg"),
                   "-map",
                   "0",
                   "-map",
                   "1",
                   "-map",
                   "2",
                   "-c:v",
                   "libtheora",
                   "-c:a",
                   "copy",
                   argument("film.ogv")});
    const auto film = opened("film.ogv");
    ASSERT_TRUE(film);
    EXPECT_EQ(film->ledger().namesNotKept(ItemKind::stream).size(), 2);
    EXPECT_TRUE(film->ledger().namesNotKept(ItemKind::stream).contains("Theora picture"));
    EXPECT_TRUE(film->ledger().namesNotKept(ItemKind::stream).contains("Vorbis sound"));
    EXPECT_EQ(film->chunksNotKept(), QStringList());
}

TEST_F(OggLedgerTest, WarnsWhenPagesOfSoundHoldNoFrame)
{
    const QByteArray one = bytesOf("one.ogg");
    // The headers take two pages; of the sound's only the last one is left, damaged.
    const qsizetype last = one.lastIndexOf("OggS");
    QByteArray page = one.mid(last);
    page[page.size() / 2] ^= 0x55;
    const qsizetype sound = one.indexOf("OggS", one.indexOf("OggS", 4) + 4);
    makeFile("lost.ogg", one.left(sound) + page);
    const auto file = opened("lost.ogg");
    ASSERT_TRUE(file);
    EXPECT_EQ(SavingTest::decoded(*file).numberOfFrames(), 0);
    EXPECT_FALSE(file->warnings().isEmpty());
}

} // namespace velloria::test
