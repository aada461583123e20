#include "formats/tags/AttachedPicture.h"

#include "formats/tags/Id3TestTags.h"
#include "platform/Log.h"

#include <QBuffer>
#include <gtest/gtest.h>

namespace velloria
{
namespace
{

using test::bytes;

AttachedPicture picture(const QString& format, const QString& description, const QByteArray& data)
{
    AttachedPicture result;
    result.setImageFormat(format);
    result.setPictureDescription(description);
    result.setPictureType(3);
    result.setPictureData(data);
    return result;
}

TEST(AttachedPicture, TellsTheFormatOfImageBytes)
{
    const QString warning = "Unknown image format. Assuming JPEG.";
    const struct {
        QByteArray data;
        QString format;
        bool isUnknown;
    } cases[] = {
        {bytes("\xFF\xD8\xFF\xE0"), "image/jpeg", false},
        {bytes("\x89PNG\r\n"), "image/png", false},
        {"GIF89a", "image/jpeg", true},
    };
    for (const auto& c : cases) {
        const LogCapture log;
        const auto made = AttachedPicture::withPictureData(c.data);
        ASSERT_TRUE(made);
        EXPECT_EQ(made->imageFormat(), c.format);
        EXPECT_EQ(made->pictureType(), 0U);
        EXPECT_EQ(made->pictureData(), c.data);
        EXPECT_EQ(log.logged(), c.isUnknown ? QStringList(warning) : QStringList());
    }
    EXPECT_FALSE(AttachedPicture::withPictureData("\xFF\xD8\xFF"));
}

TEST(AttachedPicture, WritesBothPayloadsByteByByte)
{
    const AttachedPicture jpeg = picture("image/jpeg", "Käse", "JJJJ");
    EXPECT_EQ(jpeg.id3v220Data(), bytes("\0JPG\3K\xE4se\0JJJJ"));
    EXPECT_EQ(jpeg.id3v230Data(), bytes("\0image/jpeg\0\3K\xE4se\0JJJJ"));

    const AttachedPicture png = picture("image/png", "Ж", "PPPP");
    EXPECT_EQ(png.id3v220Data(), bytes("\1PNG\3\xFF\xFE\x16\4\0\0PPPP"));
    EXPECT_EQ(png.id3v230Data(), bytes("\1image/png\0\3\xFF\xFE\x16\4\0\0PPPP"));

    EXPECT_EQ(picture("image/gif", "", "GGGG").id3v220Data(), bytes("\0\0\0\0\3\0GGGG"));
    for (const AttachedPicture& other : {picture("image/gif", "", "GIF89a.."),
                                         picture("image/bmp", "", "BM......"), picture("", "", "....")})
        EXPECT_EQ(AttachedPicture::withID3v220Data(other.id3v220Data()), other)
            << "it must not go at the next";
}

TEST(AttachedPicture, SurvivesBothPayloads)
{
    // Descriptions whose last UTF-16 unit has a zero byte must still be told from the image.
    for (const char* description : {"", "front", "Käse", "Ж", "Ж 1", "\u4E00", "Жa\u4E00"}) {
        for (const QString& format : {QString("image/png"), QString("image/jpeg")}) {
            const AttachedPicture original = picture(format, description, bytes("\x89PNG\0\0\0\rIHDR\0\0"));
            EXPECT_EQ(AttachedPicture::withID3v220Data(original.id3v220Data()), original) << description;
            EXPECT_EQ(AttachedPicture::withID3v230Data(original.id3v230Data()), original) << description;
        }
    }
}

TEST(AttachedPicture, ReadsPayloadsOfOtherPrograms)
{
    const struct {
        QByteArray payload;
        QString description;
    } cases[] = {
        {bytes("\0image/png\0\3text\0\0\0\x89PNG"), "text"},
        {bytes("\1image/png\0\3\xFF\xFE\0\0\x89PNG"), ""},
        {bytes("\1image/png\0\3\0\x89PNG"), ""}, // one zero byte ends the empty UTF-16 text
        {bytes("\1image/png\0\3\xFF\xFE"
               "a\0\0\1\0\0\x89PNG"),
         "a\u0100"},
        {bytes("\2image/png\0\3\0a\0\0\x89PNG"), "a"},
        {bytes("\3image/png\0\3\xD0\x96\0\x89PNG"), "Ж"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(AttachedPicture::withID3v230Data(c.payload), picture("image/png", c.description, "\x89PNG"))
            << c.payload.toHex(' ').toStdString();
}

TEST(AttachedPicture, RefusesDamagedPayloads)
{
    for (const QByteArray& payload : {bytes("\0PNG\3\0da"), bytes("\0GIF\3\0data"), bytes("\0PNG\3no end"),
                                      bytes("\0PNG\3text\0"), bytes("\0PNG\3text\0\0\0")})
        EXPECT_FALSE(AttachedPicture::withID3v220Data(payload)) << payload.toHex(' ').toStdString();
    const QByteArray whole = bytes("\0image/png\0\3text\0d");
    EXPECT_TRUE(AttachedPicture::withID3v230Data(whole));
    for (qsizetype length = 0; length < whole.size(); ++length)
        EXPECT_FALSE(AttachedPicture::withID3v230Data(whole.first(length))) << length;
}

TEST(AttachedPicture, KnowsFormatsUnderTheNamesThatOthersUse)
{
    const struct {
        const char* format;
        QByteArray data;
        const char* extension;
        const char* uti;
        const char* version2Format;
    } cases[] = {
        {"image/jpeg", "", "jpg", "public.jpeg", "JPG"},   {"image/jpg", "", "jpg", "public.jpeg", "JPG"},
        {"IMAGE/JPEG", "", "jpg", "public.jpeg", "JPG"},   {"PNG", "", "png", "public.png", "PNG"},
        {"image/", "\x89PNG", "png", "public.png", "PNG"}, {"", "\xFF\xD8\xFF", "jpg", "public.jpeg", "JPG"},
        {"image/gif", "\x89PNG", "", "", "\0\0\0"},
    };
    for (const auto& c : cases) {
        const AttachedPicture made = picture(c.format, "", c.data);
        EXPECT_EQ(made.filenameExtension(), c.extension) << c.format;
        EXPECT_EQ(made.imageUTI(), c.uti) << c.format;
        EXPECT_EQ(made.id3v220Data().mid(1, 3), QByteArray(c.version2Format, 3)) << c.format;
    }
}

/// What is written once must not change when it is written again.
TEST(AttachedPicture, ANamelessPictureIsNamedByItsContents)
{
    const struct {
        QByteArray data;
        const char* format;
    } cases[] = {
        {"\x89PNG....", "image/png"},
        {"\xFF\xD8\xFF....", "image/jpeg"},
        {"GIF89a..", "image/gif"},
        {"BM......", "image/bmp"},
        {"RIFF....", ""},
    };
    for (const auto& c : cases) {
        const auto read =
            AttachedPicture::withID3v220Data(picture("image/unheard", "", c.data).id3v220Data());
        ASSERT_TRUE(read) << c.format;
        EXPECT_EQ(read->imageFormat(), c.format);
        EXPECT_EQ(AttachedPicture::withID3v220Data(read->id3v220Data()), read) << c.format;
    }
}

TEST(AttachedPicture, DecodesItsImage)
{
    QImage drawn(3, 2, QImage::Format_RGB32);
    drawn.fill(Qt::red);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    ASSERT_TRUE(drawn.save(&buffer, "PNG"));
    const auto made = AttachedPicture::withPictureData(buffer.data());
    ASSERT_TRUE(made);
    EXPECT_EQ(made->image().size(), QSize(3, 2));
    EXPECT_EQ(made->image().pixelColor(2, 1), QColor(Qt::red));
    EXPECT_TRUE(picture("image/png", "", "no image").image().isNull());
}

} // namespace
} // namespace velloria
