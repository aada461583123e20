#include "formats/tags/VorbisComments.h"

#include <QtEndian>

namespace velloria
{

namespace
{

// Longer ones, and more of them, are no names; nobody would read them either.
constexpr qsizetype longestKeyShown = 60;
constexpr qsizetype mostKeysShown = 100;

const QString separator = QStringLiteral("; ");

constexpr qsizetype largestPicture = qsizetype{16} << 20;

bool tellsOfTheFileItself(const QString& key)
{
    static const QStringList keys = {QStringLiteral("encoder"), QStringLiteral("encoded-by"),
                                     QStringLiteral("encoder_options"), QStringLiteral("vendor")};
    return keys.contains(key);
}

bool isKnown(const QString& key)
{
    return key != MetadataKey::attachedPictures && AudioMetadata::dictionaryKeys().contains(key);
}

QString textOf(std::string_view bytes)
{
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

} // namespace

void VorbisComments::add(std::string_view entry)
{
    const size_t equals = entry.find('=');
    if (equals == std::string_view::npos || equals + 1 >= entry.size())
        return;
    const QString key = textOf(entry.substr(0, equals)).toLower();
    // A picture can have many megabytes, so its value is never made a text.
    if (key == QLatin1String("metadata_block_picture")) {
        addPictureBlock(entry.substr(equals + 1));
        return;
    }
    if (key == QLatin1String("coverart")) {
        mHasPictureNotKept = true;
        return;
    }
    if (!isKnown(key)) {
        noteKeyNotKept(key);
        return;
    }
    const QString value = textOf(entry.substr(equals + 1));
    QString joined = mDictionary.value(key).toString();
    if (joined.isEmpty())
        joined = value;
    else if (!joined.split(separator).contains(value))
        joined += separator + value;
    mDictionary.insert(key, joined);
}

/// A picture block as FLAC has it, in base64: https://www.rfc-editor.org/rfc/rfc9639#section-8.8
void VorbisComments::addPictureBlock(std::string_view base64)
{
    constexpr qsizetype mostBase64 = largestPicture / 3 * 4;
    const auto size = static_cast<qsizetype>(base64.size());
    const QByteArray block = size > mostBase64
                                 ? QByteArray()
                                 : QByteArray::fromBase64(QByteArray::fromRawData(base64.data(), size));
    qsizetype offset = 0;
    const auto number = [&]() -> qsizetype {
        offset += 4;
        return offset <= block.size() ? qFromBigEndian<quint32>(block.constData() + offset - 4) : 0;
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
    constexpr qsizetype dimensions = 16;
    offset += dimensions;
    const QByteArray data = bytes();
    const bool isWhole = offset <= block.size();
    addPicture(type, std::string_view(mimeType), std::string_view(description),
               isWhole ? data : QByteArray());
}

void VorbisComments::addPicture(uint32_t type, std::string_view mimeType, std::string_view description,
                                const QByteArray& data)
{
    QString format = textOf(mimeType).toLower();
    if (format == QLatin1String("image/jpg"))
        format = QStringLiteral("image/jpeg");
    const bool isKnownFormat = format == QLatin1String("image/jpeg") || format == QLatin1String("image/png");
    auto picture = isKnownFormat && data.size() <= largestPicture ? AttachedPicture::withPictureData(data)
                                                                  : std::nullopt;
    if (!picture) {
        mHasPictureNotKept = true;
        return;
    }
    picture->setImageFormat(format);
    picture->setPictureType(type);
    picture->setPictureDescription(textOf(description));
    mPictures.append(*picture);
}

MetadataDictionary VorbisComments::dictionary() const
{
    MetadataDictionary dictionary = mDictionary;
    if (!mPictures.isEmpty())
        dictionary.insert(MetadataKey::attachedPictures, QVariant::fromValue(mPictures));
    return dictionary;
}

void VorbisComments::noteKeyNotKept(const QString& key)
{
    if (key.isEmpty() || tellsOfTheFileItself(key) || mKeysNotKept.size() >= mostKeysShown)
        return;
    const QString shown = key.left(longestKeyShown);
    if (!mKeysNotKept.contains(shown))
        mKeysNotKept.append(shown);
}

QList<VorbisComments::Entry> VorbisComments::entriesOf(const MetadataDictionary& dictionary)
{
    MetadataDictionary values = dictionary;
    convertGenreNumberToString(values);
    QList<Entry> entries;
    for (const QString& key : orderedMetadataKeys(values)) {
        const QString text = metadataText(values.value(key));
        if (!text.isEmpty())
            entries.append({key.toUpper().toUtf8(), text.toUtf8()});
    }
    return entries;
}

} // namespace velloria
