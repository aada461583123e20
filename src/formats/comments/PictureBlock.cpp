#include "formats/comments/PictureBlock.h"

#include <QtEndian>
#include <algorithm>

namespace velloria::PictureBlock
{

namespace
{

constexpr qsizetype numberLength = 4;
constexpr qsizetype dimensionsLength = 4 * numberLength;

/// Up to the first zero byte.
QString textOf(QByteArrayView bytes)
{
    const qsizetype end = bytes.indexOf('\0');
    return QString::fromUtf8(end < 0 ? bytes : bytes.first(end));
}

void appendNumber(QByteArray& bytes, qsizetype number)
{
    const auto bigEndian = qToBigEndian(static_cast<quint32>(number));
    bytes.append(reinterpret_cast<const char*>(&bigEndian), numberLength);
}

void appendText(QByteArray& bytes, const QByteArray& text)
{
    appendNumber(bytes, text.size());
    bytes += text;
}

} // namespace

std::optional<AttachedPicture> picture(uint32_t type, QByteArrayView mimeType, QByteArrayView description,
                                       const QByteArray& data)
{
    QString format = textOf(mimeType).toLower();
    if (format == QLatin1String("image/jpg"))
        format = QStringLiteral("image/jpeg");
    const bool isKnownFormat = format == QLatin1String("image/jpeg") || format == QLatin1String("image/png");
    auto picture = isKnownFormat && data.size() <= largestPicture ? AttachedPicture::withPictureData(data)
                                                                  : std::nullopt;
    if (!picture)
        return std::nullopt;
    picture->setImageFormat(format);
    picture->setPictureType(type);
    picture->setPictureDescription(textOf(description));
    return picture;
}

std::optional<AttachedPicture> pictureOf(const QByteArray& block)
{
    qsizetype offset = 0;
    const auto number = [&]() -> qsizetype {
        offset += numberLength;
        return offset <= block.size() ? qFromBigEndian<quint32>(block.constData() + offset - numberLength)
                                      : 0;
    };
    const auto bytes = [&] {
        const qsizetype length = number();
        QByteArray found = block.mid(offset, length);
        offset += length;
        return found;
    };
    const auto type = static_cast<uint32_t>(number());
    const QByteArray mimeType = bytes();
    const QByteArray description = bytes();
    offset += dimensionsLength;
    const QByteArray data = bytes();
    return offset <= block.size() ? picture(type, mimeType, description, data) : std::nullopt;
}

QByteArray blockOf(const AttachedPicture& picture)
{
    const QImage image = picture.image();
    QByteArray block;
    appendNumber(block, static_cast<qsizetype>(picture.pictureType()));
    appendText(block, picture.imageFormat().toUtf8());
    appendText(block, picture.pictureDescription().toUtf8());
    appendNumber(block, image.width());
    appendNumber(block, image.height());
    appendNumber(block, image.isNull() ? 0 : image.depth());
    // Colours of an indexed picture.
    appendNumber(block, image.colorCount());
    appendText(block, picture.pictureData());
    return block;
}

std::vector<std::optional<QByteArray>> changes(const QList<QByteArray>& before,
                                               const QList<AttachedPicture>& now)
{
    QList<std::optional<AttachedPicture>> left;
    for (const QByteArray& block : before)
        left.append(pictureOf(block));
    std::vector<std::optional<QByteArray>> changes(static_cast<size_t>(std::max(before.size(), now.size())),
                                                   QByteArray());
    for (qsizetype i = 0; i < now.size(); ++i) {
        // The picture at its own place first, so that equal ones stay where they are.
        const bool isThere = i < left.size() && left[i] == now[i];
        const qsizetype found = isThere ? i : left.indexOf(std::optional(now[i]));
        std::optional<QByteArray>& change = changes[static_cast<size_t>(i)];
        if (isThere)
            change = std::nullopt;
        else
            change = found >= 0 ? before[found] : blockOf(now[i]);
        if (found >= 0)
            left[found] = std::nullopt;
    }
    return changes;
}

} // namespace velloria::PictureBlock
