#include "formats/tagediting/OtherTagEdits.h"
#include "formats/tags/ValueChanges.h"

#include <array>

namespace velloria::OtherTagEdits
{

namespace
{

// Layouts: https://id3.org/Lyrics3 and https://id3.org/Lyrics3v2
const QByteArray begin = "LYRICSBEGIN";
const QByteArray endOfVersion1 = "LYRICSEND";
const QByteArray endOfVersion2 = "LYRICS200";
constexpr qsizetype sizeDigits = 6;
constexpr qsizetype fieldIdLength = 3;
constexpr qsizetype fieldSizeDigits = 5;
constexpr qsizetype longestName = 250;
constexpr qsizetype longestLyrics = 99999;
constexpr qsizetype longestLyricsOfVersion1 = 5100;

struct Field {
    QByteArray id;
    QByteArray text;
};

struct Name {
    const char* id;
    QLatin1String key;
};
constexpr std::array names = {Name{"ETT", QLatin1String("title")}, Name{"EAR", QLatin1String("artist")},
                              Name{"EAL", QLatin1String("album")}, Name{"LYR", QLatin1String("lyrics")}};

QByteArray digits(qsizetype number, qsizetype count)
{
    return QByteArray::number(number).rightJustified(count, '0');
}

QByteArray lyricsText(QString text, qsizetype longest)
{
    text.remove(u'\r');
    return text.replace(u'\n', QStringLiteral("\r\n")).toLatin1().left(longest);
}

/// Nothing where the fields do not fill the tag.
std::optional<QList<Field>> fieldsOf(const QByteArray& bytes)
{
    QList<Field> fields;
    constexpr qsizetype headerLength = fieldIdLength + fieldSizeDigits;
    for (qsizetype offset = 0; offset < bytes.size();) {
        if (bytes.size() - offset < headerLength)
            return std::nullopt;
        bool isNumber = false;
        const qsizetype length = bytes.sliced(offset + fieldIdLength, fieldSizeDigits).toInt(&isNumber);
        if (!isNumber || length < 0 || length > bytes.size() - offset - headerLength)
            return std::nullopt;
        fields.append({bytes.sliced(offset, fieldIdLength), bytes.sliced(offset + headerLength, length)});
        offset += headerLength + length;
    }
    return fields;
}

/// The first field tells whether there are lyrics, and whether these tell times.
void editIndications(QByteArray& indications, const QString& lyrics)
{
    if (indications.size() >= 1 && lyrics.isEmpty())
        indications[0] = '0';
    if (indications.size() >= 2)
        indications[1] = '0';
}

QByteArray editedVersion2(const QByteArray& tag, const QMap<QString, QString>& changes)
{
    const qsizetype tailLength = sizeDigits + endOfVersion2.size();
    if (tag.size() < begin.size() + tailLength || !tag.startsWith(begin))
        return tag;
    const auto fields = fieldsOf(tag.sliced(begin.size(), tag.size() - begin.size() - tailLength));
    if (!fields)
        return tag;
    QByteArray edited = begin;
    const QString lyricsKey = QStringLiteral("lyrics");
    for (Field field : *fields) {
        if (field.id == "IND" && changes.contains(lyricsKey))
            editIndications(field.text, changes.value(lyricsKey));
        bool isGone = false;
        for (const Name& name : names) {
            if (field.id != name.id || !changes.contains(name.key))
                continue;
            const QString text = changes.value(name.key);
            field.text =
                name.key == lyricsKey ? lyricsText(text, longestLyrics) : text.toLatin1().left(longestName);
            isGone = field.text.isEmpty();
        }
        if (!isGone)
            edited += field.id + digits(field.text.size(), fieldSizeDigits) + field.text;
    }
    return edited + digits(edited.size(), sizeDigits) + endOfVersion2;
}

} // namespace

QByteArray editedLyrics3(const QByteArray& tag, const AudioMetadata& read, const AudioMetadata& now)
{
    const QMap<QString, QString> changes = ValueChanges::changedTexts(read, now);
    if (tag.endsWith(endOfVersion2))
        return editedVersion2(tag, changes);
    const QString key = QStringLiteral("lyrics");
    if (!changes.contains(key) || !tag.startsWith(begin) || !tag.endsWith(endOfVersion1))
        return tag;
    const QByteArray text = lyricsText(changes.value(key), longestLyricsOfVersion1);
    return text.isEmpty() ? QByteArray() : begin + text + endOfVersion1;
}

QByteArray edited(TagsAround::Tag::Kind kind, const QByteArray& tag, const AudioMetadata& read,
                  const AudioMetadata& now)
{
    switch (kind) {
    case TagsAround::Tag::Kind::id3v1:
        return editedId3v1(tag, read, now);
    case TagsAround::Tag::Kind::ape:
        return editedApe(tag, read, now);
    case TagsAround::Tag::Kind::lyrics3:
        return editedLyrics3(tag, read, now);
    case TagsAround::Tag::Kind::id3:
        break;
    }
    return tag;
}

} // namespace velloria::OtherTagEdits
