#pragma once

#include "formats/tags/MetadataDictionary.h"

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QString>
#include <cstdint>
#include <optional>

namespace velloria
{

/// One picture of a file's tags (cover art): the encoded image with its format, role and description.
/// A value that is cheap to copy, because the image's bytes are shared.
class AttachedPicture
{
public:
    /// Takes an encoded image; PNG is told by its first byte, all else counts as JPEG. Nothing for fewer
    /// than 4 bytes.
    static std::optional<AttachedPicture> withPictureData(const QByteArray& pictureData);

    /// Reads the payload of an ID3v2.2 PIC frame; nothing when it is damaged or neither PNG nor JPG. One
    /// without a format, as id3v220Data() writes others, is taken.
    static std::optional<AttachedPicture> withID3v220Data(QByteArrayView payload);

    /// Reads the payload of an ID3v2.3 or 2.4 APIC frame; nothing when it is damaged.
    static std::optional<AttachedPicture> withID3v230Data(QByteArrayView payload);

    /// The encoded image.
    const QByteArray& pictureData() const { return mPictureData; }
    void setPictureData(const QByteArray& pictureData) { mPictureData = pictureData; }

    /// MIME type, as "image/png" or "image/jpeg".
    const QString& imageFormat() const { return mImageFormat; }
    void setImageFormat(const QString& imageFormat) { mImageFormat = imageFormat; }

    /// What the picture shows, by ID3's numbers: 0 is other, 3 the front cover.
    uint32_t pictureType() const { return mPictureType; }
    void setPictureType(uint32_t pictureType) { mPictureType = pictureType; }

    const QString& pictureDescription() const { return mPictureDescription; }
    void setPictureDescription(const QString& description) { mPictureDescription = description; }

    /// The payload of an ID3v2.2 PIC frame.
    QByteArray id3v220Data() const;

    /// The payload of an ID3v2.3 or 2.4 APIC frame.
    QByteArray id3v230Data() const;

    /// The decoded image; null when it cannot be decoded.
    QImage image() const;

    /// "public.jpeg" or "public.png", empty for another format.
    QString imageUTI() const;

    /// True for a picture in one of the formats that tags can name, whatever it is called.
    bool isJpegOrPng() const { return kind() != Kind::other; }

    /// "jpg" or "png", empty for another format.
    QString filenameExtension() const;

    bool operator==(const AttachedPicture& other) const = default;

private:
    enum class Kind { jpeg, png, other };
    Kind kind() const;

    QByteArray mPictureData;
    QString mImageFormat;
    uint32_t mPictureType = 0;
    QString mPictureDescription;
};

/// The pictures of a dictionary, in order.
QList<AttachedPicture> attachedPictures(const MetadataDictionary& dictionary);

} // namespace velloria
