#include "formats/comments/VorbisComments.h"

#include "formats/comments/PictureBlock.h"
#include "formats/comments/VorbisChapters.h"
#include "formats/comments/VorbisCommentNames.h"
#include "formats/tags/ValueChanges.h"

#include <algorithm>

namespace velloria
{

using namespace VorbisCommentNames;

namespace
{

// Longer ones, and more of them, are no names; nobody would read them either.
constexpr qsizetype longestNameShown = 60;
constexpr qsizetype mostNamesShown = 100;

const QString separator = QStringLiteral("; ");

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
    if (VorbisChapters::isName(name)) {
        mChapters.append(QByteArray(entry.data(), static_cast<qsizetype>(entry.size())));
        return;
    }
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

void VorbisComments::addPictureBlock(std::string_view base64)
{
    constexpr qsizetype mostBase64 = PictureBlock::largestPicture / 3 * 4;
    const auto size = static_cast<qsizetype>(base64.size());
    take(size > mostBase64
             ? std::nullopt
             : PictureBlock::pictureOf(QByteArray::fromBase64(QByteArray::fromRawData(base64.data(), size))));
}

void VorbisComments::addPicture(uint32_t type, std::string_view mimeType, std::string_view description,
                                const QByteArray& data)
{
    take(PictureBlock::picture(type, mimeType, description, data));
}

void VorbisComments::take(const std::optional<AttachedPicture>& picture)
{
    if (picture)
        mPictures.append(*picture);
    else
        ++mNumPicturesNotKept;
}

MarkerList VorbisComments::chapters(double sampleRate) const
{
    return VorbisChapters::read(mChapters, sampleRate);
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

void VorbisComments::declare(const AudioMetadata& metadata, FileLedger& ledger, Keeping keeping) const
{
    const auto add = [&](ItemKind kind, const QString& name) { ledger.add({kind, keeping, name, {}}); };
    for (const QString& name : mNamesNotKept + VorbisChapters::namesNotRead(mChapters))
        add(ItemKind::tag, name);
    for (int i = 0; i < mNumPicturesNotKept; ++i)
        add(ItemKind::part, QStringLiteral("picture"));
    for (auto [name, values] : mValues.asKeyValueRange()) {
        const QString text = values.join(separator);
        const QString chosen = chosenText(keyOf(name));
        const bool isChosen =
            isTotal(name) ? chosen.endsWith(u'/' + text) : chosen == text || chosen.startsWith(text + u'/');
        if (!isChosen)
            add(ItemKind::tag, name + u' ' + ValueChanges::quoted(text));
        else if (values.size() > 1) {
            QStringList quotedValues;
            for (const QString& value : values.mid(0, 5))
                quotedValues += ValueChanges::quoted(value);
            add(ItemKind::value,
                ValueChanges::change(isTotal(name) ? name : keyOf(name),
                                     quotedValues.join(QStringLiteral(", ")), ValueChanges::quoted(text)));
        }
    }
    const ValueChanges::Differences found = ValueChanges::differences(dictionary(), metadata.dictionary());
    for (const QString& change : found.altered)
        add(ItemKind::value, change);
    for (const QString& value : found.missing)
        add(ItemKind::tag, value);
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
    if (!mChapters.isEmpty() && mChapters != first.mChapters)
        ledger.addNotKept(ItemKind::tag, QStringLiteral("chapters of a later part of the file"));
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

} // namespace velloria
