#include "formats/tagediting/TagsAround.h"

#include "formats/tags/Id3Layout.h"

#include <QtEndian>
#include <algorithm>
#include <optional>

namespace velloria::TagsAround
{

namespace
{

// A damaged file could hold thousands of them.
constexpr size_t mostTags = 64;

// Layout: the page on APEv2 of the Hydrogenaudio wiki.
constexpr int64_t apeHeaderLength = 32;
constexpr uint32_t apeHasHeader = 0x80000000;

uint32_t littleEndian32(const QByteArray& bytes, qsizetype offset)
{
    return qFromLittleEndian<quint32>(bytes.constData() + offset);
}

/// The name of an APEv2 tag with the keys of its items, which lie at `offset`. An item: 4 bytes size of the
/// value, 4 bytes flags, the key and its NUL, the value.
QString apeName(const FileHandle& handle, int64_t offset, int64_t end, uint32_t numItems)
{
    constexpr int64_t longestKey = 255;
    constexpr uint32_t mostKeys = 20;
    QStringList keys;
    for (uint32_t i = 0; i < std::min(numItems, mostKeys) && offset + 8 < end; ++i) {
        const QByteArray head = handle.readAt(offset, std::min(end - offset, 8 + longestKey + 1));
        const qsizetype keyEnd = head.indexOf('\0', 8);
        if (keyEnd < 0)
            break;
        keys += QString::fromLatin1(head.mid(8, keyEnd - 8));
        offset += keyEnd + 1 + int64_t{littleEndian32(head, 0)};
    }
    if (numItems > mostKeys)
        keys += QStringLiteral("…");
    const QString name = QStringLiteral("APEv2 tag");
    return keys.isEmpty() ? name : QStringLiteral("%1 (%2)").arg(name, keys.join(QStringLiteral(", ")));
}

std::optional<Tag> id3At(const FileHandle& handle, int64_t offset)
{
    const QByteArray header = handle.readAt(offset, id3HeaderLength);
    if (header.size() < id3HeaderLength || !header.startsWith("ID3"))
        return std::nullopt;
    return Tag{QStringLiteral("ID3 tag"), {offset, id3TagLength(header)}, Tag::Kind::id3};
}

/// A tag that begins with a header, as it does in front of the sound.
std::optional<Tag> apeAt(const FileHandle& handle, int64_t offset)
{
    const QByteArray header = handle.readAt(offset, apeHeaderLength);
    if (header.size() < apeHeaderLength || !header.startsWith("APETAGEX"))
        return std::nullopt;
    const int64_t end = offset + apeHeaderLength + int64_t{littleEndian32(header, 12)};
    return Tag{apeName(handle, offset + apeHeaderLength, end, littleEndian32(header, 16)),
               {offset, end - offset},
               Tag::Kind::ape};
}

std::optional<Tag> id3v1Before(const FileHandle& handle, int64_t end)
{
    constexpr int64_t length = 128;
    constexpr int64_t enhancedLength = 227;
    if (end < length || handle.readAt(end - length, 3) != "TAG")
        return std::nullopt;
    const int64_t start = end - length;
    if (start >= enhancedLength && handle.readAt(start - enhancedLength, 4) == "TAG+")
        return Tag{QStringLiteral("enhanced ID3v1 tag"),
                   {start - enhancedLength, enhancedLength + length},
                   Tag::Kind::id3v1};
    return Tag{QStringLiteral("ID3v1 tag"), {start, length}, Tag::Kind::id3v1};
}

std::optional<Tag> apeBefore(const FileHandle& handle, int64_t end)
{
    const QByteArray footer = handle.readAt(end - apeHeaderLength, apeHeaderLength);
    if (end < apeHeaderLength || footer.size() < apeHeaderLength || !footer.startsWith("APETAGEX"))
        return std::nullopt;
    const int64_t items = end - int64_t{littleEndian32(footer, 12)};
    const int64_t start = items - ((littleEndian32(footer, 20) & apeHasHeader) ? apeHeaderLength : 0);
    const QString name = apeName(handle, items, end - apeHeaderLength, littleEndian32(footer, 16));
    return Tag{name, {start, end - start}, Tag::Kind::ape};
}

/// A tag of version 2.4 behind the sound ends with its header, turned around.
std::optional<Tag> id3Before(const FileHandle& handle, int64_t end)
{
    const QByteArray footer = handle.readAt(end - id3HeaderLength, id3HeaderLength);
    if (end < id3HeaderLength || footer.size() < id3HeaderLength || !footer.startsWith("3DI"))
        return std::nullopt;
    const int64_t length = 2 * id3HeaderLength + intFromSynchSafe(QByteArrayView(footer).sliced(6, 4));
    return Tag{QStringLiteral("ID3 tag"), {end - length, length}, Tag::Kind::id3};
}

/// Version 2 ends with six digits, which tell its length without these and its name; version 1 has at most
/// 5100 bytes between its two names. See https://id3.org/Lyrics3v2 and https://id3.org/Lyrics3
std::optional<Tag> lyricsBefore(const FileHandle& handle, int64_t end)
{
    constexpr int64_t nameLength = 9;
    constexpr int64_t sizeLength = 6;
    const QString name = QStringLiteral("Lyrics3 tag");
    const QByteArray tail = handle.readAt(end - nameLength - sizeLength, nameLength + sizeLength);
    if (end < nameLength + sizeLength)
        return std::nullopt;
    if (tail.endsWith("LYRICS200")) {
        const int64_t length = tail.first(sizeLength).toLongLong() + nameLength + sizeLength;
        return Tag{name, {end - length, length}, Tag::Kind::lyrics3};
    }
    if (!tail.endsWith("LYRICSEND"))
        return std::nullopt;
    const int64_t window = std::min<int64_t>(end, 5100 + 2 * 11);
    const qsizetype start = handle.readAt(end - window, window).indexOf("LYRICSBEGIN");
    if (start < 0)
        return std::nullopt;
    return Tag{name, {end - window + start, window - start}, Tag::Kind::lyrics3};
}

} // namespace

std::vector<Tag> inFront(const FileHandle& handle)
{
    std::vector<Tag> tags;
    for (int64_t offset = 0; tags.size() < mostTags;) {
        std::optional<Tag> tag = id3At(handle, offset);
        if (!tag)
            tag = apeAt(handle, offset);
        if (!tag)
            break;
        tag->bytes.length = std::min(tag->bytes.length, handle.length() - offset);
        offset = tag->bytes.end();
        tags.push_back(*std::move(tag));
    }
    return tags;
}

std::vector<Tag> behind(const FileHandle& handle, int64_t start)
{
    std::vector<Tag> tags;
    for (int64_t end = handle.length(); tags.size() < mostTags;) {
        std::optional<Tag> tag;
        for (const auto find : {id3v1Before, apeBefore, id3Before, lyricsBefore}) {
            if (!tag)
                tag = find(handle, end);
        }
        if (!tag || tag->bytes.offset < start || tag->bytes.length <= 0)
            break;
        end = tag->bytes.offset;
        tags.push_back(*std::move(tag));
    }
    return tags;
}

void declareNotKept(const std::vector<Tag>& tags, FileLedger& ledger)
{
    declare(tags, Keeping::notKept, ledger);
}

void declare(const std::vector<Tag>& tags, Keeping keeping, FileLedger& ledger)
{
    for (const Tag& tag : tags)
        ledger.add({ItemKind::part, keeping, tag.name, tag.bytes});
}

} // namespace velloria::TagsAround
