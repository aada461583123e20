#include "formats/tags/MetadataDictionary.h"

#include "formats/tags/AudioMetadata.h"
#include "formats/tags/Id3Genres.h"

#include <QtEndian>
#include <algorithm>
#include <limits>

namespace velloria
{

namespace
{

bool isNumber(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

} // namespace

QStringList orderedMetadataKeys(const MetadataDictionary& dictionary)
{
    const QStringList& known = AudioMetadata::dictionaryKeys();
    QStringList keys;
    for (const QString& key : known) {
        if (dictionary.contains(key))
            keys.append(key);
    }
    for (auto entry = dictionary.keyBegin(); entry != dictionary.keyEnd(); ++entry) {
        if (!known.contains(*entry))
            keys.append(*entry);
    }
    return keys;
}

QString metadataText(const QVariant& value)
{
    if (value.typeId() == QMetaType::QString)
        return value.toString();
    return isNumber(value) ? QString::number(value.toLongLong()) : QString();
}

QString numberDataText(const QByteArray& data)
{
    const char* bytes = data.constData();
    const int number = data.size() >= 4 ? qFromBigEndian<quint16>(bytes + 2) : 0;
    const int total = data.size() >= 6 ? qFromBigEndian<quint16>(bytes + 4) : 0;
    if (total != 0)
        return QStringLiteral("%1/%2").arg(number).arg(total);
    return number != 0 ? QString::number(number) : QString();
}

void convertNumberDataToString(MetadataDictionary& dictionary, const QString& key)
{
    const QVariant value = dictionary.value(key);
    if (value.typeId() != QMetaType::QByteArray)
        return;
    const QString text = numberDataText(value.toByteArray());
    if (text.isEmpty())
        dictionary.remove(key);
    else
        dictionary.insert(key, text);
}

void convertGenreNumberToString(MetadataDictionary& dictionary)
{
    const QVariant value = dictionary.value(MetadataKey::genre);
    if (!isNumber(value))
        return;
    const QString name = nameOfGenre(value.toLongLong());
    if (!name.isEmpty())
        dictionary.insert(MetadataKey::genre, name);
}

std::optional<int64_t> leadingInteger(QStringView text)
{
    text = text.trimmed();
    const auto isDigit = [](QChar c) { return c >= u'0' && c <= u'9'; };
    const bool isSigned = text.startsWith(u'-') || text.startsWith(u'+');
    const auto* const firstDigit = text.begin() + (isSigned ? 1 : 0);
    const auto* const end = std::find_if_not(firstDigit, text.end(), isDigit);
    if (end == firstDigit)
        return std::nullopt;
    bool fits = false;
    const qlonglong value = text.first(end - text.begin()).toLongLong(&fits);
    if (fits)
        return value;
    return text.startsWith(u'-') ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
}

} // namespace velloria
