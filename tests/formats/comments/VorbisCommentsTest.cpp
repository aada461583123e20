#include "formats/comments/VorbisComments.h"

#include <QtEndian>
#include <gtest/gtest.h>

namespace velloria
{
namespace
{

/// What is told of comments that metadata took in.
FileLedger ledgerOf(const VorbisComments& comments)
{
    AudioMetadata metadata;
    metadata.setValuesWithDictionary(comments.dictionary());
    FileLedger ledger;
    comments.declare(metadata, ledger);
    return ledger;
}

TEST(VorbisCommentsTest, EntriesBecomeTheDictionary)
{
    VorbisComments comments;
    for (const char* entry : {"Title=A=B", "ARTIST=one", "artist=two", "Artist=two", "track number=3/4",
                              "YEAR=", "no equals", "=nothing", "mood=1999", "Mood=2000", "ENCODED-BY=me",
                              "ENCODER=some", "GENRE=\xFFx", "METADATA_BLOCK_PICTURE=AAAA",
                              // What the dictionary calls its pictures is no name for a text.
                              "ATTACHED PICTURES=\x89PNG"})
        comments.add(entry);
    const MetadataDictionary expected = {{"title", "A=B"},
                                         {"artist", "one; two"},
                                         {"track number", "3/4"},
                                         {"genre", QString(QChar(0xFFFD)) + "x"}};
    EXPECT_EQ(comments.dictionary(), expected);
    const FileLedger ledger = ledgerOf(comments);
    EXPECT_EQ(ledger.namesNotKept(ItemKind::tag),
              QStringList({"“no equals”", "“nothing”", "mood (2 times)", "encoded-by", "attached pictures"}));
    EXPECT_EQ(ledger.namesNotKept(ItemKind::part), QStringList("picture"));
    EXPECT_EQ(ledger.namesNotKept(ItemKind::value), QStringList("artist “one”, “two” becomes “one; two”"));
}

TEST(VorbisCommentsTest, PicturesAreTakenInWhenTheyAreWhole)
{
    const auto number = [](quint32 value) {
        QByteArray bytes(4, Qt::Uninitialized);
        qToBigEndian(value, bytes.data());
        return bytes;
    };
    const QByteArray image = "\x89PNGdata";
    const auto block = [&](const QByteArray& mimeType, quint32 size) {
        return number(3) + number(static_cast<quint32>(mimeType.size())) + mimeType + number(6) + "Hülle" +
               QByteArray(16, '\0') + number(size) + image;
    };
    const struct {
        QByteArray block;
        bool isKept;
    } cases[] = {{block("image/png", 8), true},
                 {block("image/gif", 8), false},
                 {block("image/png", 9), false},
                 {block("image/png", 0xFFFFFFFF), false},
                 {block("image/png", 8).left(20), false},
                 {number(3) + number(0xFFFFFFF0), false},
                 {"", false}};
    for (const auto& c : cases) {
        VorbisComments comments;
        comments.add("METADATA_BLOCK_PICTURE=" + c.block.toBase64().toStdString() + "=");
        EXPECT_EQ(ledgerOf(comments).namesNotKept(ItemKind::part).isEmpty(), c.isKept);
        const auto pictures = attachedPictures(comments.dictionary());
        ASSERT_EQ(pictures.size(), c.isKept ? 1 : 0);
        if (!c.isKept)
            continue;
        EXPECT_EQ(pictures[0].pictureData(), image);
        EXPECT_EQ(pictures[0].imageFormat(), "image/png");
        EXPECT_EQ(pictures[0].pictureType(), 3U);
        EXPECT_EQ(pictures[0].pictureDescription(), "Hülle");
    }
}

TEST(VorbisCommentsTest, ManyAndLongKeysAreNotAllListed)
{
    VorbisComments comments;
    comments.add(QByteArray(100000, 'k').append("=v").toStdString());
    for (int i = 0; i < 100000; ++i)
        comments.add("key" + std::to_string(i) + "=v");
    EXPECT_TRUE(comments.isEmpty());
    EXPECT_LE(ledgerOf(comments).namesNotKept(ItemKind::tag).join(',').size(), 10000);
}

TEST(VorbisCommentsTest, WritesTextsAndNumbersUnderUpperCaseKeys)
{
    QByteArray written;
    for (const auto& entry : VorbisComments::entriesOf({{"title", "Ö"},
                                                        {"album artist", "x"},
                                                        {"genre", 17},
                                                        {"tempo", 120},
                                                        {"track number", "3/12"},
                                                        {"disc number", "1"},
                                                        {"year", "2010-10-11"},
                                                        {"lyrics", ""},
                                                        {"attached pictures", QByteArray("p")}}))
        written += entry.key + "=" + entry.value + "\n";
    EXPECT_EQ(written,
              "TITLE=Ö\nALBUM ARTIST=x\nALBUMARTIST=x\nYEAR=2010-10-11\nDATE=2010-10-11\nGENRE=Rock\n"
              "TEMPO=120\nBPM=120\nTRACK NUMBER=3/12\nTRACKNUMBER=3\nTRACKTOTAL=12\nDISC NUMBER=1\n"
              "DISCNUMBER=1\n");
}

TEST(VorbisCommentsTest, ReadsTheSpellingsOfOtherProgramsAndTellsWhatTheyContradict)
{
    const struct {
        std::vector<std::string> entries;
        MetadataDictionary dictionary;
        QStringList told;
    } cases[] = {
        {{"TRACKNUMBER=3", "TRACKTOTAL=12"}, {{"track number", "3/12"}}, {}},
        {{"TOTALTRACKS=12", "TRACKNUMBER=3"}, {{"track number", "3/12"}}, {}},
        {{"TRACKNUMBER=3/12", "TRACKTOTAL=12"}, {{"track number", "3/12"}}, {}},
        {{"TRACKNUMBER=3/12", "TRACKTOTAL=13"}, {{"track number", "3/12"}}, {"tracktotal “13”"}},
        {{"TRACK NUMBER=3/12", "TRACKNUMBER=3", "TRACKTOTAL=12"}, {{"track number", "3/12"}}, {}},
        {{"TRACK NUMBER=3/12", "TRACKNUMBER=4", "TRACKTOTAL=12"},
         {{"track number", "4/12"}},
         {"track number “3/12”"}},
        {{"TRACKTOTAL=12"}, {{"track number", "/12"}}, {"track number “/12”"}},
        {{"DISCNUMBER=1", "DISCTOTAL=2"}, {{"disc number", "1/2"}}, {}},
        {{"YEAR=2010", "DATE=2010-10-11"}, {{"year", "2010-10-11"}}, {"year “2010”"}},
        {{"ALBUMARTIST=a", "ALBUM ARTIST=a"}, {{"album artist", "a"}}, {}},
        {{"COMMENT=c", "BPM=99"}, {{"comments", "c"}, {"tempo", "99"}}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.entries.front());
        VorbisComments comments;
        for (const std::string& entry : c.entries)
            comments.add(entry);
        EXPECT_EQ(comments.dictionary(), c.dictionary);
        EXPECT_EQ(ledgerOf(comments).namesNotKept(ItemKind::tag), c.told);
        EXPECT_EQ(ledgerOf(comments).namesNotKept(ItemKind::value), QStringList());
    }
}

TEST(VorbisCommentsTest, TellsWhatALaterPartSaysOtherwise)
{
    VorbisComments first;
    first.add("TITLE=one");
    first.add("ARTIST=same");
    VorbisComments later;
    later.add("TITLE=two");
    later.add("ARTIST=same");
    later.add("MOOD=x");
    FileLedger ledger;
    later.declareBeside(first, ledger);
    EXPECT_EQ(ledger.namesNotKept(ItemKind::tag),
              QStringList({"title “two” of a later part of the file", "mood of a later part of the file"}));
}

// A save writes what was read; what comes back otherwise must have been told.
TEST(VorbisCommentsTest, EveryValueThatComesBackAlteredWasTold)
{
    const char* const values[] = {
        "120.5",         "A1",  "0/12", "/12",  "12/",        "3/12/1",
        "01/02",         " 7 ", "-3",   "true", "(80s) Rock", "99999999999999999999",
        "“quoted” text", "1"};
    for (const QString& key : AudioMetadata::dictionaryKeys()) {
        for (const char* const value : values) {
            SCOPED_TRACE(key.toStdString() + "=" + value);
            VorbisComments comments;
            comments.add(key.toStdString() + "=" + value);
            AudioMetadata metadata;
            metadata.setValuesWithDictionary(comments.dictionary());
            FileLedger ledger;
            comments.declare(metadata, ledger);
            VorbisComments again;
            for (const auto& entry : VorbisComments::entriesOf(metadata.dictionary()))
                again.add((entry.key + "=" + entry.value).toStdString());
            const bool isSame = again.dictionary().value(key).toString() == value;
            EXPECT_EQ(ledger.items().empty(), isSame);
        }
    }
}

} // namespace
} // namespace velloria
