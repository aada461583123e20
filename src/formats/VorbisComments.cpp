#include "formats/VorbisComments.h"

#include <array>

namespace velloria
{

namespace
{

// Longer ones, and more of them, are no names; nobody would read them either.
constexpr qsizetype longestKeyShown = 60;
constexpr qsizetype mostKeysShown = 100;

const QString separator = QStringLiteral("; ");

bool isPicture(const QString& key)
{
    return key == QLatin1String("metadata_block_picture") || key == QLatin1String("coverart");
}

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
    if (isPicture(key)) {
        mHasPicture = true;
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
