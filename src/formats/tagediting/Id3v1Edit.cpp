#include "formats/tagediting/OtherTagEdits.h"
#include "formats/tags/Id3Genres.h"
#include "formats/tags/ValueChanges.h"

#include <algorithm>
#include <array>

namespace velloria::OtherTagEdits
{

namespace
{

// Layout: https://id3.org/ID3v1 and, for the block in front, the article on ID3 in Wikipedia.
constexpr qsizetype tagLength = 128;
constexpr qsizetype commentOffset = 97;
constexpr qsizetype trackOffset = 126;
constexpr qsizetype genreOffset = 127;
constexpr qsizetype enhancedGenreOffset = 185;
constexpr qsizetype enhancedLength = 227;
constexpr char noGenre = '\xFF';

struct Field {
    QLatin1String key;
    qsizetype offset;
    qsizetype length;
};
constexpr std::array fields = {Field{QLatin1String("title"), 3, 30}, Field{QLatin1String("artist"), 33, 30},
                               Field{QLatin1String("album"), 63, 30}, Field{QLatin1String("year"), 93, 4}};
constexpr std::array enhancedFields = {Field{QLatin1String("title"), 4, 60},
                                       Field{QLatin1String("artist"), 64, 60},
                                       Field{QLatin1String("album"), 124, 60}};

/// A field that tells nothing stays so; others go on being filled up with what they were filled up with.
void setField(QByteArray& tag, qsizetype offset, qsizetype length, const QString& text)
{
    const QByteArray before = tag.sliced(offset, length);
    if (before.trimmed().isEmpty() || before.startsWith('\0'))
        return;
    const char filler = before.endsWith(' ') ? ' ' : '\0';
    tag.replace(offset, length, text.toLatin1().left(length).leftJustified(length, filler));
}

char numberOfGenreNamed(const QString& name)
{
    for (int64_t number = 0; !nameOfGenre(number).isEmpty(); ++number) {
        if (nameOfGenre(number).compare(name, Qt::CaseInsensitive) == 0)
            return static_cast<char>(number);
    }
    return noGenre;
}

/// In the enhanced block stands what is too long, or all of it: programs differ. Nothing is right for both.
void clearEnhanced(QByteArray& block, const QMap<QString, QString>& changes)
{
    for (const Field& field : enhancedFields) {
        if (changes.contains(field.key))
            block.replace(field.offset, field.length, QByteArray(field.length, '\0'));
    }
    if (changes.contains(MetadataKey::genre))
        setField(block, enhancedGenreOffset, 30, changes.value(MetadataKey::genre));
}

} // namespace

QByteArray editedId3v1(QByteArray tag, const AudioMetadata& read, const AudioMetadata& now)
{
    const QMap<QString, QString> changes = ValueChanges::changedTexts(read, now);
    if (changes.isEmpty() || tag.size() < tagLength)
        return tag;
    QByteArray block = tag.chopped(tagLength);
    tag = tag.last(tagLength);
    if (block.size() == enhancedLength && block.startsWith("TAG+"))
        clearEnhanced(block, changes);
    for (const Field& field : fields) {
        if (changes.contains(field.key))
            setField(tag, field.offset, field.length, changes.value(field.key));
    }
    const bool hasTrack = tag[trackOffset - 1] == 0 && tag[trackOffset] != 0;
    if (changes.contains(MetadataKey::comments))
        setField(tag, commentOffset, hasTrack ? 28 : 30, changes.value(MetadataKey::comments));
    if (hasTrack && changes.contains(MetadataKey::trackNumber)) {
        const int64_t number = leadingInteger(changes.value(MetadataKey::trackNumber)).value_or(0);
        tag[trackOffset] = static_cast<char>(number > 0xFF || number < 0 ? 0 : number);
    }
    if (tag[genreOffset] != noGenre && changes.contains(MetadataKey::genre))
        tag[genreOffset] = numberOfGenreNamed(changes.value(MetadataKey::genre));
    return block + tag;
}

} // namespace velloria::OtherTagEdits
