#include "formats/wave/InfoList.h"

#include "formats/chunks/RiffChunkList.h"
#include "formats/streams/ByteText.h"
#include "formats/wave/ListEntries.h"

#include <QtEndian>
#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

const QByteArray listType = QByteArrayLiteral("INFO");
constexpr size_t mostEntries = 10000;

struct Name {
    FourCharCode ident;
    const char* key;
};

/// The first one of a key is the one that is written.
constexpr auto names = std::to_array<Name>({
    {fourCharCode("INAM"), "title"},
    {fourCharCode("IART"), "artist"},
    {fourCharCode("IPRD"), "album"},
    {fourCharCode("ICMT"), "comments"},
    {fourCharCode("ICRD"), "year"},
    {fourCharCode("YEAR"), "year"},
    {fourCharCode("IGNR"), "genre"},
    {fourCharCode("ICOP"), "copyright"},
    {fourCharCode("IMUS"), "composer"},
    {fourCharCode("IKEY"), "keywords"},
    {fourCharCode("ITRK"), "track number"},
    {fourCharCode("IPRT"), "track number"},
    {fourCharCode("TRCK"), "track number"},
});

} // namespace

InfoList::InfoList(const QByteArray& payload)
{
    if (!payload.startsWith(listType))
        return;
    ListEntries list = ListEntries::ofPayload(payload, mostEntries);
    for (const ListEntry& entry : list.entries) {
        const QByteArray text = ByteText::bytesOfText(entry.value());
        mIsWindows1252 = mIsWindows1252 || !ByteText::isUtf8(text);
        mEntries.push_back({entry.ident, entry.bytes, text});
    }
    mRest = std::move(list.rest);
}

QString InfoList::keyOf(FourCharCode ident)
{
    const auto found = std::ranges::find(names, ident, &Name::ident);
    return found == names.end() ? QString() : QLatin1String(found->key);
}

MetadataDictionary InfoList::dictionary() const
{
    MetadataDictionary dictionary;
    for (const Entry& entry : mEntries) {
        const QString key = keyOf(entry.ident);
        if (!key.isEmpty() && !entry.text.isEmpty() && !dictionary.contains(key))
            dictionary.insert(key, ByteText::stringOf(entry.text));
    }
    return dictionary;
}

void InfoList::setTags(const MetadataDictionary& before, const MetadataDictionary& now, bool addsNew)
{
    QStringList keysDone;
    for (const Name& name : names) {
        const QString key = QLatin1String(name.key);
        const QString text = metadataText(now.value(key));
        if (keysDone.contains(key) || metadataText(before.value(key)) == text)
            continue;
        keysDone.append(key);
        bool hasEntry = false;
        for (Entry& entry : mEntries) {
            if (keyOf(entry.ident) != key)
                continue;
            hasEntry = true;
            entry = entryOf(entry.ident, text, entry.bytes);
        }
        if (!hasEntry && addsNew && !text.isEmpty())
            mEntries.push_back(entryOf(name.ident, text, {}));
    }
    std::erase_if(mEntries, [](const Entry& entry) { return entry.bytes.isEmpty(); });
}

/// Ended by a zero byte where the one before was, and a new one; empty for no text.
InfoList::Entry InfoList::entryOf(FourCharCode ident, const QString& text, const QByteArray& before) const
{
    Entry entry = {ident, {}, {}};
    if (text.isEmpty())
        return entry;
    entry.text = ByteText::textOf(text, mIsWindows1252);
    const QByteArray value = before.mid(RiffChunk::headerLength);
    const bool endsWithZero =
        before.isEmpty() ||
        value.first(std::min<qsizetype>(value.size(), qFromLittleEndian<quint32>(before.constData() + 4)))
            .endsWith('\0');
    entry.bytes =
        ListEntry::ofValue(ident, entry.text + (endsWithZero ? QByteArray(1, '\0') : QByteArray())).bytes;
    return entry;
}

QByteArray InfoList::payload() const
{
    QByteArray payload = listType;
    for (const Entry& entry : mEntries)
        payload += entry.bytes;
    return payload + mRest;
}

} // namespace velloria
