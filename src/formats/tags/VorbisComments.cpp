#include "formats/tags/VorbisComments.h"

#include "formats/tags/ValueChanges.h"

#include <QtEndian>
#include <algorithm>

namespace velloria
{

namespace
{

// Longer ones, and more of them, are no names; nobody would read them either.
constexpr qsizetype longestNameShown = 60;
constexpr qsizetype mostNamesShown = 100;

const QString separator = QStringLiteral("; ");

constexpr qsizetype largestPicture = qsizetype{16} << 20;

/// ENCODED-BY is not among them: it names a person.
bool tellsOfTheFileItself(const QString& name)
{
    static const QStringList names = {QStringLiteral("encoder"), QStringLiteral("encoder_options"),
                                      QStringLiteral("vendor")};
    return names.contains(name);
}

/// How other programs spell our keys.
struct Spelling {
    QString key;
    QString name;
    /// Where a position's total stands by itself: the name that is written, and another that is read.
    QStringList totals = {};
};

const QList<Spelling>& spellings()
{
    static const QList<Spelling> list = {
        {QStringLiteral("year"), QStringLiteral("date")},
        {QStringLiteral("album artist"), QStringLiteral("albumartist")},
        {MetadataKey::comments, QStringLiteral("comment")},
        {QStringLiteral("tempo"), QStringLiteral("bpm")},
        {MetadataKey::trackNumber,
         QStringLiteral("tracknumber"),
         {QStringLiteral("tracktotal"), QStringLiteral("totaltracks")}},
        {MetadataKey::discNumber,
         QStringLiteral("discnumber"),
         {QStringLiteral("disctotal"), QStringLiteral("totaldiscs")}},
    };
    return list;
}

const Spelling* spellingOf(const QString& key)
{
    const auto found = std::ranges::find(spellings(), key, &Spelling::key);
    return found == spellings().end() ? nullptr : &*found;
}

/// The key that a name in a file stands for; empty for none.
QString keyOf(const QString& name)
{
    for (const Spelling& spelling : spellings()) {
        if (spelling.name == name || spelling.totals.contains(name))
            return spelling.key;
    }
    const bool isKnown =
        name != MetadataKey::attachedPictures && AudioMetadata::dictionaryKeys().contains(name);
    return isKnown ? name : QString();
}

bool isTotal(const QString& name)
{
    return std::ranges::any_of(spellings(),
                               [&](const Spelling& spelling) { return spelling.totals.contains(name); });
}

QString decoded(std::string_view bytes)
{
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

} // namespace

void VorbisComments::add(std::string_view entry)
{
    const size_t equals = entry.find('=');
    if (equals == std::string_view::npos && !entry.empty())
        mNamesNotKept.append(ValueChanges::quoted(decoded(entry.substr(0, longestNameShown))));
    if (equals == std::string_view::npos || equals + 1 >= entry.size())
        return;
    const QString name = decoded(entry.substr(0, equals)).toLower();
    // A picture can have many megabytes, so its value is never made a text.
    if (name == QLatin1String("metadata_block_picture"))
        return addPictureBlock(entry.substr(equals + 1));
    if (name == QLatin1String("coverart")) {
        ++mNumPicturesNotKept;
        return;
    }
    if (tellsOfTheFileItself(name))
        return;
    if (keyOf(name).isEmpty()) {
        if (mNamesNotKept.size() < mostNamesShown)
            mNamesNotKept.append(name.isEmpty() ? ValueChanges::quoted(decoded(entry.substr(equals + 1)))
                                                : name.left(longestNameShown));
        return;
    }
    const QString value = decoded(entry.substr(equals + 1));
    QStringList& values = mValues[name];
    if (!values.contains(value))
        values.append(value);
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
    QString format = decoded(mimeType).toLower();
    if (format == QLatin1String("image/jpg"))
        format = QStringLiteral("image/jpeg");
    const bool isKnownFormat = format == QLatin1String("image/jpeg") || format == QLatin1String("image/png");
    auto picture = isKnownFormat && data.size() <= largestPicture ? AttachedPicture::withPictureData(data)
                                                                  : std::nullopt;
    if (!picture) {
        ++mNumPicturesNotKept;
        return;
    }
    picture->setImageFormat(format);
    picture->setPictureType(type);
    picture->setPictureDescription(decoded(description));
    mPictures.append(*picture);
}

QString VorbisComments::textOf(const QString& name) const
{
    return mValues.value(name).join(separator);
}

/// Number and total, which may stand apart.
QString VorbisComments::positionText(const QString& key) const
{
    const Spelling& spelling = *spellingOf(key);
    const QString name = mValues.contains(spelling.name) ? spelling.name : key;
    QString number = textOf(name);
    if (number.contains(u'/'))
        return number;
    for (const QString& total : spelling.totals) {
        if (mValues.contains(total))
            return number + u'/' + textOf(total);
    }
    return number;
}

/// What counts of all spellings of a key.
QString VorbisComments::chosenText(const QString& key) const
{
    const Spelling* const spelling = spellingOf(key);
    if (spelling && !spelling->totals.isEmpty())
        return positionText(key);
    return textOf(spelling && mValues.contains(spelling->name) ? spelling->name : key);
}

MetadataDictionary VorbisComments::dictionary() const
{
    MetadataDictionary dictionary;
    for (auto name = mValues.keyBegin(); name != mValues.keyEnd(); ++name) {
        const QString key = keyOf(*name);
        dictionary.insert(key, chosenText(key));
    }
    if (!mPictures.isEmpty())
        dictionary.insert(MetadataKey::attachedPictures, QVariant::fromValue(mPictures));
    return dictionary;
}

void VorbisComments::declare(const AudioMetadata& metadata, FileLedger& ledger) const
{
    for (const QString& name : mNamesNotKept)
        ledger.addNotKept(ItemKind::tag, name);
    for (int i = 0; i < mNumPicturesNotKept; ++i)
        ledger.addNotKept(ItemKind::part, QStringLiteral("picture"));
    for (auto [name, values] : mValues.asKeyValueRange()) {
        const QString text = values.join(separator);
        const QString chosen = chosenText(keyOf(name));
        const bool isChosen =
            isTotal(name) ? chosen.endsWith(u'/' + text) : chosen == text || chosen.startsWith(text + u'/');
        if (!isChosen)
            ledger.addNotKept(ItemKind::tag, name + u' ' + ValueChanges::quoted(text));
        else if (values.size() > 1) {
            QStringList quotedValues;
            for (const QString& value : values.mid(0, 5))
                quotedValues += ValueChanges::quoted(value);
            ledger.addNotKept(ItemKind::value, ValueChanges::change(isTotal(name) ? name : keyOf(name),
                                                                    quotedValues.join(QStringLiteral(", ")),
                                                                    ValueChanges::quoted(text)));
        }
    }
    ValueChanges::declare(dictionary(), metadata, ledger);
}

void VorbisComments::declareBeside(const VorbisComments& first, FileLedger& ledger) const
{
    for (auto [name, values] : mValues.asKeyValueRange()) {
        for (const QString& value : values) {
            if (!first.mValues.value(name).contains(value))
                ledger.addNotKept(ItemKind::tag, QStringLiteral("%1 %2 of a later part of the file")
                                                     .arg(name, ValueChanges::quoted(value)));
        }
    }
    for (const QString& name : mNamesNotKept)
        ledger.addNotKept(ItemKind::tag, QStringLiteral("%1 of a later part of the file").arg(name));
    if (mPictures != first.mPictures || mNumPicturesNotKept > 0)
        ledger.addNotKept(ItemKind::part, QStringLiteral("pictures of a later part of the file"));
}

QList<VorbisComments::Entry> VorbisComments::entriesOf(const MetadataDictionary& dictionary)
{
    MetadataDictionary values = dictionary;
    convertGenreNumberToString(values);
    QList<Entry> entries;
    for (const QString& key : orderedMetadataKeys(values)) {
        const QString text = metadataText(values.value(key));
        if (text.isEmpty())
            continue;
        entries.append({key.toUpper().toUtf8(), text.toUtf8()});
        const Spelling* const spelling = spellingOf(key);
        if (!spelling)
            continue;
        const qsizetype slash = spelling->totals.isEmpty() ? -1 : text.indexOf(u'/');
        const auto append = [&](const QString& name, const QString& value) {
            entries.append({name.toUpper().toUtf8(), value.toUtf8()});
        };
        append(spelling->name, slash < 0 ? text : text.left(slash));
        if (slash >= 0)
            append(spelling->totals.first(), text.mid(slash + 1));
    }
    return entries;
}

QByteArray VorbisComments::textOf(const QList<Entry>& entries)
{
    QByteArray text;
    for (const Entry& entry : entries)
        text += entry.key + '=' + entry.value + '\n';
    return text;
}

MetadataDictionary VorbisComments::tagsThrough(const AudioMetadata& metadata)
{
    VorbisComments comments;
    for (const Entry& entry : entriesOf(metadata.dictionary()))
        comments.add(std::string_view(entry.key + '=' + entry.value));
    AudioMetadata found;
    found.setValuesWithDictionary(comments.dictionary());
    return found.dictionary();
}

} // namespace velloria
