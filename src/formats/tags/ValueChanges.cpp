#include "formats/tags/ValueChanges.h"

#include <algorithm>

namespace velloria::ValueChanges
{

namespace
{

/// The text of a value, bytes of an MPEG-4 file included.
QString textOf(const QVariant& value)
{
    return value.typeId() == QMetaType::QByteArray ? numberDataText(value.toByteArray())
                                                   : metadataText(value);
}

/// "0", "00", "0/0" and the like.
bool isNoNumber(const QString& text)
{
    return std::all_of(text.begin(), text.end(),
                       [](QChar c) { return c == u'0' || c == u'/' || c.isSpace(); });
}

} // namespace

QString quoted(const QString& text)
{
    constexpr qsizetype mostShown = 60;
    QString shown = text.left(mostShown + 1).simplified();
    if (text.size() > mostShown)
        shown = shown.left(mostShown) + u'…';
    return QStringLiteral("“%1”").arg(shown);
}

QString change(const QString& key, const QString& before, const QString& after)
{
    return QStringLiteral("%1 %2 becomes %3").arg(key, before, after);
}

QMap<QString, QString> changedTexts(const AudioMetadata& read, const AudioMetadata& now)
{
    const MetadataDictionary before = read.dictionary();
    const MetadataDictionary after = now.dictionary();
    QMap<QString, QString> changes;
    for (const QString& key : AudioMetadata::dictionaryKeys()) {
        const QString text = metadataText(after.value(key));
        if (metadataText(before.value(key)) != text)
            changes.insert(key, text);
    }
    return changes;
}

bool isReplaced(const FileItem& item, const AudioMetadata& read, const AudioMetadata& now)
{
    if (item.kind != ItemKind::value)
        return false;
    const QStringList keys = AudioMetadata::dictionaryKeys();
    const auto key = std::find_if(keys.begin(), keys.end(), [&item](const QString& each) {
        return item.name.startsWith(each + QStringLiteral(" “"));
    });
    return key != keys.end() && read.dictionary().value(*key) != now.dictionary().value(*key);
}

Differences differences(const MetadataDictionary& values, const MetadataDictionary& kept)
{
    Differences found;
    for (const QString& key : AudioMetadata::dictionaryKeys()) {
        const auto value = values.constFind(key);
        if (value == values.constEnd() || key == MetadataKey::attachedPictures)
            continue;
        const QString before = textOf(*value);
        const QString after = metadataText(kept.value(key));
        if (before == after)
            continue;
        if (!after.isEmpty())
            found.altered += change(key, quoted(before), quoted(after));
        else if (!isNoNumber(before))
            found.missing += key + u' ' + quoted(before);
    }
    return found;
}

void declare(const MetadataDictionary& values, const AudioMetadata& metadata, FileLedger& ledger,
             Keeping keeping)
{
    const Differences found = differences(values, metadata.dictionary());
    for (const QString& change : found.altered)
        ledger.add({ItemKind::value, keeping, change, {}});
    for (const QString& value : found.missing)
        ledger.add({ItemKind::tag, keeping, value, {}});
}

} // namespace velloria::ValueChanges
