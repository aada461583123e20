#include "formats/tags/VorbisComments.h"

#include <QtEndian>
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
    EXPECT_TRUE(comments.hasPictureNotKept());
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
        EXPECT_EQ(comments.hasPictureNotKept(), !c.isKept);
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
