#include "formats/wave/InfoList.h"

#include "formats/chunks/RiffChunkList.h"

#include <QStringDecoder>
#include <QtEndian>
#include <algorithm>
#include <array>
#include <optional>

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

std::optional<QString> utf8Text(const QByteArray& bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(text);
}

QString textOf(const QByteArray& bytes)
{
    return utf8Text(bytes).value_or(QString::fromLatin1(bytes));
}

} // namespace

InfoList::InfoList(const QByteArray& payload)
{
    if (!payload.startsWith(listType))
        return;
    qsizetype offset = listType.size();
    while (offset + RiffChunk::headerLength <= payload.size() && mEntries.size() < mostEntries) {
        const auto ident = qFromBigEndian<quint32>(payload.constData() + offset);
        const qsizetype size = qFromLittleEndian<quint32>(payload.constData() + offset + 4);
        const qsizetype start = offset + RiffChunk::headerLength;
        if (size > payload.size() - start)
            break;
        qsizetype end = start + size;
        // Some programs leave the pad byte out.
        if (size % 2 != 0 && end < payload.size() && payload[end] == '\0')
            ++end;
        const QByteArray value = payload.mid(start, size);
        const qsizetype zero = value.indexOf('\0');
        const QByteArray text = zero < 0 ? value : value.first(zero);
        mIsLatin1 = mIsLatin1 || !utf8Text(text);
        mEntries.push_back({ident, payload.mid(offset, end - offset), text});
        offset = end;
    }
    mRest = payload.mid(offset);
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
            dictionary.insert(key, textOf(entry.text));
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
    const QByteArray latin1 = text.toLatin1();
    const bool isLatin1 = mIsLatin1 && QString::fromLatin1(latin1) == text;
    entry.text = isLatin1 ? latin1 : text.toUtf8();
    const QByteArray value = before.mid(RiffChunk::headerLength);
    const bool endsWithZero =
        before.isEmpty() ||
        value.first(std::min<qsizetype>(value.size(), qFromLittleEndian<quint32>(before.constData() + 4)))
            .endsWith('\0');
    QByteArray bytes = entry.text + (endsWithZero ? QByteArray(1, '\0') : QByteArray());
    entry.bytes = riffChunkHeader(ident, bytes.size()) + bytes;
    if (bytes.size() % 2 != 0)
        entry.bytes += '\0';
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
