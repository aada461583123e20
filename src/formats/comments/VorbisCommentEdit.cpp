#include "formats/comments/VorbisCommentEdit.h"

#include "formats/comments/VorbisCommentNames.h"
#include "formats/comments/VorbisComments.h"

#include <algorithm>
#include <map>

namespace velloria::VorbisCommentEdit
{

namespace
{

using VorbisCommentNames::Spelling;

constexpr qsizetype longestName = 64;
const QString separator = QStringLiteral("; ");

/// In lower case; empty for an entry without one.
QString nameOf(const QByteArray& entry)
{
    const qsizetype equals = entry.indexOf('=');
    return equals < 0 || equals > longestName ? QString() : QString::fromUtf8(entry.first(equals)).toLower();
}

bool hasValue(const QByteArray& entry)
{
    return entry.indexOf('=') + 1 < entry.size();
}

bool isOfKey(const QByteArray& entry, const QString& key)
{
    const QString name = nameOf(entry);
    return !name.isEmpty() && VorbisCommentNames::keyOf(name) == key;
}

/// The entries of one name, by their places, and what they shall say.
struct Values {
    QList<qsizetype> places;
    qsizetype numBefore = 0;
    bool hasSlash = false;
    QStringList texts;
};

/// One key's entries and the text that becomes of them.
class KeyEdit
{
public:
    KeyEdit(const QList<QByteArray>& entries, const QString& key)
        : mEntries(entries)
        , mSpelling(VorbisCommentNames::spellingOf(key))
    {
        for (qsizetype i = 0; i < entries.size(); ++i) {
            if (!isOfKey(entries[i], key))
                continue;
            Values& values = mValues[nameOf(entries[i])];
            values.places.append(i);
            values.numBefore += hasValue(entries[i]) ? 1 : 0;
            values.hasSlash = values.hasSlash || entries[i].contains('/');
        }
    }

    bool hasEntries() const { return !mValues.empty(); }

    QList<QByteArray> with(const QString& text)
    {
        if (mSpelling && !mSpelling->totals.isEmpty())
            setPosition(text);
        else
            setText(text);
        std::vector<QList<QByteArray>> places;
        for (const QByteArray& entry : mEntries)
            places.push_back({entry});
        for (const auto& [name, values] : mValues)
            deal(values, places);
        if (!mTotalToAdd.isEmpty())
            places[static_cast<size_t>(mValues[mSpelling->name].places.last())].append(
                mSpelling->totals.first().toUpper().toUtf8() + '=' + mTotalToAdd.toUtf8());
        QList<QByteArray> edited;
        for (const QList<QByteArray>& place : places)
            edited += place;
        return edited;
    }

private:
    void setText(const QString& text)
    {
        for (auto& [name, values] : mValues) {
            if (text.isEmpty())
                continue;
            values.texts = values.numBefore > 1 ? text.split(separator) : QStringList(text);
        }
    }

    /// Number and total may stand apart.
    void setPosition(const QString& text)
    {
        const qsizetype slash = text.indexOf(u'/');
        const QString number = slash < 0 ? text : text.first(slash);
        const QString total = slash < 0 ? QString() : text.sliced(slash + 1);
        bool hasTotal = false;
        for (auto& [name, values] : mValues) {
            const bool isTotal = VorbisCommentNames::isTotal(name);
            const bool isWhole = name != mSpelling->name || values.hasSlash;
            const QString& shown = isTotal ? total : isWhole ? text : number;
            values.texts = shown.isEmpty() ? QStringList() : QStringList(shown);
            hasTotal = hasTotal || isTotal || isWhole;
        }
        if (!hasTotal)
            mTotalToAdd = total;
    }

    void deal(const Values& values, std::vector<QList<QByteArray>>& places) const
    {
        for (qsizetype i = 0; i < values.places.size(); ++i) {
            const QByteArray& entry = mEntries[values.places[i]];
            QList<QByteArray>& place = places[static_cast<size_t>(values.places[i])];
            place.clear();
            const bool isLast = i == values.places.size() - 1;
            for (qsizetype t = i; t < values.texts.size() && (t == i || isLast); ++t) {
                // Bytes that are no text, too, stay where they say the same.
                const qsizetype start = entry.indexOf('=') + 1;
                const bool isSame = t == i && QString::fromUtf8(entry.sliced(start)) == values.texts[t];
                place.append(isSame ? entry : entry.first(start) + values.texts[t].toUtf8());
            }
        }
    }

    const QList<QByteArray>& mEntries;
    const Spelling* mSpelling;
    /// By their names.
    std::map<QString, Values> mValues;
    QString mTotalToAdd;
};

QList<QByteArray> withNewTag(const QList<QByteArray>& entries, const QString& key, const QVariant& value)
{
    QList<QByteArray> appended = entries;
    for (const VorbisComments::Entry& entry : VorbisComments::entriesOf({{key, value}}))
        appended.append(entry.key + '=' + entry.value);
    return appended;
}

QList<QByteArray> without(QList<QByteArray> entries, const QString& key)
{
    entries.removeIf([&key](const QByteArray& entry) { return isOfKey(entry, key); });
    return entries;
}

QList<QByteArray> withTag(const QList<QByteArray>& entries, const QString& key, const QVariant& value)
{
    const QString text = metadataText(value);
    KeyEdit edit(entries, key);
    if (text.isEmpty())
        return without(entries, key);
    if (!edit.hasEntries())
        return withNewTag(entries, key, value);
    QList<QByteArray> edited = edit.with(text);
    // The forms that are there may have no room for it, as a track number alone has none for a total.
    return tagsOf(edited).value(key) == value ? edited : withNewTag(without(entries, key), key, value);
}

} // namespace

MetadataDictionary tagsOf(const QList<QByteArray>& entries)
{
    VorbisComments comments;
    for (const QByteArray& entry : entries) {
        if (!VorbisCommentNames::keyOf(nameOf(entry)).isEmpty())
            comments.add({entry.constData(), static_cast<size_t>(entry.size())});
    }
    AudioMetadata metadata;
    metadata.setValuesWithDictionary(comments.dictionary());
    return metadata.dictionary();
}

QList<QByteArray> withTags(QList<QByteArray> entries, const MetadataDictionary& tags)
{
    const MetadataDictionary before = tagsOf(entries);
    MetadataDictionary now = tags;
    convertGenreNumberToString(now);
    MetadataDictionary both = before;
    both.insert(now);
    both.remove(MetadataKey::attachedPictures);
    for (const QString& key : orderedMetadataKeys(both)) {
        if (before.value(key) != now.value(key))
            entries = withTag(entries, key, now.value(key));
    }
    return entries;
}

} // namespace velloria::VorbisCommentEdit
