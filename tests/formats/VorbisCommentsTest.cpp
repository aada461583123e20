#include "formats/VorbisComments.h"

#include <gtest/gtest.h>

namespace velloria
{
namespace
{

TEST(VorbisCommentsTest, EntriesBecomeTheDictionary)
{
    VorbisComments comments;
    for (const char* entry :
         {"Title=A=B", "ARTIST=one", "artist=two", "Artist=two", "track number=3/4", "YEAR=", "no equals",
          "=nothing", "date=1999", "Date=2000", "ENCODER=some", "GENRE=\xFFx", "METADATA_BLOCK_PICTURE=AAAA"})
        comments.add(entry);
    const MetadataDictionary expected = {{"title", "A=B"},
                                         {"artist", "one; two"},
                                         {"track number", "3/4"},
                                         {"genre", QString(QChar(0xFFFD)) + "x"}};
    EXPECT_EQ(comments.dictionary(), expected);
    EXPECT_EQ(comments.keysNotKept(), QStringList("date"));
    EXPECT_TRUE(comments.hasPicture());
}

TEST(VorbisCommentsTest, ManyAndLongKeysAreNotAllListed)
{
    VorbisComments comments;
    comments.add(QByteArray(100000, 'k').append("=v").toStdString());
    for (int i = 0; i < 100000; ++i)
        comments.add("key" + std::to_string(i) + "=v");
    EXPECT_TRUE(comments.isEmpty());
    EXPECT_LE(comments.keysNotKept().join(',').size(), 10000);
}

TEST(VorbisCommentsTest, WritesTextsAndNumbersUnderUpperCaseKeys)
{
    QByteArray written;
    for (const auto& entry : VorbisComments::entriesOf({{"title", "Ö"},
                                                        {"album artist", "x"},
                                                        {"genre", 17},
                                                        {"tempo", 120},
                                                        {"lyrics", ""},
                                                        {"attached pictures", QByteArray("p")}}))
        written += entry.key + "=" + entry.value + "\n";
    EXPECT_EQ(written, "TITLE=Ö\nALBUM ARTIST=x\nGENRE=Rock\nTEMPO=120\n");
}

} // namespace
} // namespace velloria
