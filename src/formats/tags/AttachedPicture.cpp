#include "formats/tags/AttachedPicture.h"

#include "formats/tags/Id3Text.h"
#include "platform/Log.h"

namespace velloria
{

namespace
{

const QString jpegFormat = QStringLiteral("image/jpeg");
const QString pngFormat = QStringLiteral("image/png");

/// Reads what both kinds of picture frame end with: role, description, image.
std::optional<AttachedPicture> pictureWithRest(uint8_t encoding, QByteArrayView rest)
{
    if (rest.size() < 2)
        return std::nullopt;
    const auto described = splitId3Description(encoding, rest.sliced(1));
    if (!described)
        return std::nullopt;
    QByteArrayView image = described->content;
    while (image.startsWith('\0'))
        image = image.sliced(1);
    if (image.isEmpty())
        return std::nullopt;

    AttachedPicture picture;
    picture.setPictureType(static_cast<uint8_t>(rest[0]));
    picture.setPictureDescription(described->description);
    picture.setPictureData(image.toByteArray());
    return picture;
}

bool isPng(const QByteArray& picture)
{
    return picture.startsWith("\x89PNG");
}

bool isJpeg(const QByteArray& picture)
{
    return picture.startsWith("\xFF\xD8\xFF");
}

/// The format of a picture whose tag names none; empty where the contents do not tell it either.
QString formatByContents(const QByteArray& picture)
{
    if (isPng(picture))
        return pngFormat;
    if (isJpeg(picture))
        return jpegFormat;
    if (picture.startsWith("GIF8"))
        return QStringLiteral("image/gif");
    return picture.startsWith("BM") ? QStringLiteral("image/bmp") : QString();
}

QByteArray payload(const QByteArray& format, const AttachedPicture& picture)
{
    const Id3EncodedText description = encodeId3Text(picture.pictureDescription());
    QByteArray bytes;
    bytes.reserve(2 + format.size() + description.bytes.size() + picture.pictureData().size());
    bytes.append(static_cast<char>(description.encoding));
    bytes.append(format);
    bytes.append(static_cast<char>(picture.pictureType()));
    bytes.append(description.bytes);
    bytes.append(picture.pictureData());
    return bytes;
}

} // namespace

std::optional<AttachedPicture> AttachedPicture::withPictureData(const QByteArray& pictureData)
{
    if (pictureData.size() < 4)
        return std::nullopt;
    AttachedPicture picture;
    picture.mPictureData = pictureData;
    const auto first = static_cast<uint8_t>(pictureData[0]);
    picture.mImageFormat = first == 0x89 ? pngFormat : jpegFormat;
    if (first != 0x89 && first != 0xFF)
        logLine(QStringLiteral("Unknown image format. Assuming JPEG."));
    return picture;
}

std::optional<AttachedPicture> AttachedPicture::withID3v220Data(QByteArrayView payload)
{
    if (payload.size() < 9)
        return std::nullopt;
    const QByteArrayView format = payload.sliced(1, 3);
    // Ours: what was saved before would be lost by the next save otherwise.
    const bool isNameless = format == QByteArrayView("\0\0\0", 3);
    if (format != "PNG" && format != "JPG" && !isNameless)
        return std::nullopt;
    auto picture = pictureWithRest(static_cast<uint8_t>(payload[0]), payload.sliced(4));
    if (picture)
        picture->mImageFormat = isNameless        ? formatByContents(picture->mPictureData)
                                : format == "PNG" ? pngFormat
                                                  : jpegFormat;
    return picture;
}

std::optional<AttachedPicture> AttachedPicture::withID3v230Data(QByteArrayView payload)
{
    if (payload.size() < 5)
        return std::nullopt;
    const QByteArrayView afterEncoding = payload.sliced(1);
    const qsizetype formatLength = afterEncoding.indexOf('\0');
    if (formatLength < 0)
        return std::nullopt;
    auto picture = pictureWithRest(static_cast<uint8_t>(payload[0]), afterEncoding.sliced(formatLength + 1));
    if (picture)
        picture->mImageFormat = QString::fromLatin1(afterEncoding.first(formatLength));
    return picture;
}

QByteArray AttachedPicture::id3v220Data() const
{
    switch (kind()) {
    case Kind::jpeg:
        return payload("JPG", *this);
    case Kind::png:
        return payload("PNG", *this);
    case Kind::other:
        break;
    }
    return payload(QByteArray(3, '\0'), *this);
}

QByteArray AttachedPicture::id3v230Data() const
{
    return payload(mImageFormat.toLatin1() + '\0', *this);
}

QImage AttachedPicture::image() const
{
    return QImage::fromData(mPictureData);
}

QString AttachedPicture::imageUTI() const
{
    switch (kind()) {
    case Kind::jpeg:
        return QStringLiteral("public.jpeg");
    case Kind::png:
        return QStringLiteral("public.png");
    case Kind::other:
        break;
    }
    return {};
}

QString AttachedPicture::filenameExtension() const
{
    switch (kind()) {
    case Kind::jpeg:
        return QStringLiteral("jpg");
    case Kind::png:
        return QStringLiteral("png");
    case Kind::other:
        break;
    }
    return {};
}

/// Other programs also write "image/jpg", "PNG" and the like, or leave the format open; such a picture
/// must not lose its format when it is written again.
AttachedPicture::Kind AttachedPicture::kind() const
{
    QString name = mImageFormat.toLower();
    if (name.startsWith(u"image/"))
        name.remove(0, 6);
    if (name == u"jpeg" || name == u"jpg" || name == u"pjpeg")
        return Kind::jpeg;
    if (name == u"png" || name == u"x-png")
        return Kind::png;
    if (!name.isEmpty())
        return Kind::other;
    if (isPng(mPictureData))
        return Kind::png;
    return isJpeg(mPictureData) ? Kind::jpeg : Kind::other;
}

QList<AttachedPicture> attachedPictures(const MetadataDictionary& dictionary)
{
    return dictionary.value(MetadataKey::attachedPictures).value<QList<AttachedPicture>>();
}

} // namespace velloria
