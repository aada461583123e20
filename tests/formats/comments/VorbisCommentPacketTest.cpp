#include "formats/comments/VorbisCommentPacket.h"

#include "formats/comments/PictureBlock.h"

#include <gtest/gtest.h>

namespace velloria
{

namespace
{

QByteArray text(const QByteArray& bytes)
{
    return QByteArray(1, static_cast<char>(bytes.size())) + QByteArray(3, '\0') + bytes;
}

QByteArray count(char number)
{
    return QByteArray(1, number) + QByteArray(3, '\0');
}

AttachedPicture picture(const QByteArray& data, const QString& description = {})
{
    AttachedPicture made = *AttachedPicture::withPictureData(data);
    made.setPictureType(3);
    made.setPictureDescription(description);
    return made;
}

/// A block whose fields no writer of ours would fill so.
QByteArray foreignBlock(const QByteArray& data)
{
    QByteArray block = PictureBlock::blockOf(picture(data));
    block.replace("image/jpeg", QByteArray("IMAGE/JPG\0", 10));
    return block + "behind";
}

} // namespace

TEST(VorbisCommentPacket, ChangesOnlyWhatOtherTagsSay)
{
    const QByteArray before = text("maker 1.0") + count(4) + text("title=Old") + text("Encoder=it") +
                              text("metadata_block_PICTURE=abc") + text("nothing") + "\x01more";
    VorbisCommentPacket packet(before);
    packet.setTags({{"title", "Old"}});
    EXPECT_EQ(packet.bytes(), before);
    packet.setTags({{"title", "New"}, {"artist", "A"}});
    EXPECT_EQ(packet.bytes(), text("maker 1.0") + count(5) + text("title=New") + text("Encoder=it") +
                                  text("metadata_block_PICTURE=abc") + text("nothing") + text("ARTIST=A"));
    packet.setEncoder("other");
    packet.setVendor("library");
    EXPECT_EQ(packet.vendor(), "library");
    EXPECT_EQ(packet.entries()[1], "Encoder=other");
}

TEST(VorbisCommentPacket, ReadsDamagedBytesAsFarAsTheyGo)
{
    const QByteArray whole = text("maker") + count(2) + text("encoder=a") + text("encoder=b");
    for (qsizetype length = 0; length < whole.size(); ++length) {
        const VorbisCommentPacket found(whole.first(length));
        EXPECT_EQ(found.vendor(), length >= 9 ? "maker" : "") << length;
        EXPECT_EQ(found.entries().size(), length >= 9 + 4 + 13 ? 1 : 0) << length;
    }
    EXPECT_EQ(VorbisCommentPacket(QByteArray(4, '\xFF') + "x").bytes(), text("") + count(0));
    EXPECT_TRUE(VorbisCommentPacket(text("m") + QByteArray(4, '\xFF')).entries().isEmpty());
}

TEST(VorbisCommentPacket, PicturesThatStayStayByteForByte)
{
    const QByteArray first = foreignBlock("\xFF\xD8one");
    const QByteArray second = foreignBlock("\xFF\xD8two");
    const AttachedPicture added = picture("\xFF\xD8new", "Hülle");
    const auto entry = [](const QByteArray& block) { return "Metadata_Block_Picture=" + block.toBase64(); };
    const AttachedPicture one = *PictureBlock::pictureOf(first);
    const AttachedPicture two = *PictureBlock::pictureOf(second);
    const struct {
        QList<AttachedPicture> pictures;
        QList<QByteArray> entries;
    } cases[] = {
        {{one, two}, {"A=1", entry(first), "metadata_block_picture=gif", "B=2", entry(second), "C=3"}},
        {{two}, {"A=1", entry(second), "metadata_block_picture=gif", "B=2", "C=3"}},
        {{two, one}, {"A=1", entry(second), "metadata_block_picture=gif", "B=2", entry(first), "C=3"}},
        {{one, added},
         {"A=1", entry(first), "metadata_block_picture=gif", "B=2", entry(PictureBlock::blockOf(added)),
          "C=3"}},
        {{one, two, added},
         {"A=1", entry(first), "metadata_block_picture=gif", "B=2", entry(second), "C=3",
          "METADATA_BLOCK_PICTURE=" + PictureBlock::blockOf(added).toBase64()}},
        {{}, {"A=1", "metadata_block_picture=gif", "B=2", "C=3"}},
    };
    for (const auto& c : cases) {
        VorbisCommentPacket packet;
        packet.setEntries(cases[0].entries);
        packet.changePictures(PictureBlock::changes(packet.pictureBlocks(), c.pictures));
        EXPECT_EQ(packet.entries(), c.entries);
        QList<AttachedPicture> read;
        for (const QByteArray& block : packet.pictureBlocks())
            read.append(*PictureBlock::pictureOf(block));
        EXPECT_EQ(read, c.pictures);
    }
}

} // namespace velloria
