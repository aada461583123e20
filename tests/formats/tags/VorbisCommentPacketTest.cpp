#include "formats/tags/VorbisCommentPacket.h"

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

const QList<VorbisComments::Entry> kTags = {{"TITLE", "New"}, {"ARTIST", QByteArray()}};

} // namespace

TEST(VorbisCommentPacket, KeepsWhatTellsOfTheEncoderAndPictures)
{
    const QByteArray before = text("maker 1.0") + count(4) + text("title=Old") + text("Encoder=it") +
                              text("metadata_block_PICTURE=abc") + text("nothing");
    const VorbisCommentPacket packet(before);
    EXPECT_EQ(packet.numPictures(), 1);
    const QByteArray tags = text("TITLE=New") + text("ARTIST=");
    EXPECT_EQ(packet.withTags(kTags, false), text("maker 1.0") + count(3) + text("Encoder=it") + tags);
    EXPECT_EQ(packet.withTags(kTags, true),
              text("maker 1.0") + count(4) + text("Encoder=it") + tags + text("metadata_block_PICTURE=abc"));
}

TEST(VorbisCommentPacket, ReadsDamagedBytesAsFarAsTheyGo)
{
    const QByteArray whole = text("maker") + count(2) + text("encoder=a") + text("encoder=b");
    for (qsizetype length = 0; length < whole.size(); ++length) {
        const QByteArray found = VorbisCommentPacket(whole.first(length)).withTags({}, true);
        const bool hasVendor = length >= 9;
        const bool hasEntry = length >= 9 + 4 + 13;
        EXPECT_EQ(found, (hasVendor ? text("maker") : text("")) + count(hasEntry ? 1 : 0) +
                             (hasEntry ? text("encoder=a") : QByteArray()))
            << length;
    }
    EXPECT_EQ(VorbisCommentPacket(QByteArray(4, '\xFF') + "x").withTags({}, true), text("") + count(0));
    EXPECT_EQ(VorbisCommentPacket(text("m") + QByteArray(4, '\xFF')).withTags({}, true),
              text("m") + count(0));
}

} // namespace velloria
