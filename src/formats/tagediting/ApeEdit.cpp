#include "formats/tagediting/OtherTagEdits.h"
#include "formats/tags/ValueChanges.h"

#include <QtEndian>
#include <algorithm>
#include <array>

namespace velloria::OtherTagEdits
{

namespace
{

// Layout: the page on APEv2 of the Hydrogenaudio wiki. Header and footer are alike: 8 letters, version,
// length of all that follows the header, number of items, flags, 8 bytes of nothing. An item: length of its
// value, flags, the key and its NUL, the value.
constexpr qsizetype frameLength = 32;
constexpr qsizetype lengthOffset = 12;
constexpr qsizetype countOffset = 16;
constexpr qsizetype itemHeaderLength = 8;
constexpr uint32_t kindOfValue = 0x06;
constexpr uint32_t isText = 0x00;
constexpr uint32_t isBinary = 0x02;

struct Name {
    QLatin1String name;
    QLatin1String key;
};
constexpr std::array names = {Name{QLatin1String("title"), QLatin1String("title")},
                              Name{QLatin1String("artist"), QLatin1String("artist")},
                              Name{QLatin1String("album"), QLatin1String("album")},
                              Name{QLatin1String("album artist"), QLatin1String("album artist")},
                              Name{QLatin1String("albumartist"), QLatin1String("album artist")},
                              Name{QLatin1String("year"), QLatin1String("year")},
                              Name{QLatin1String("comment"), QLatin1String("comments")},
                              Name{QLatin1String("genre"), QLatin1String("genre")},
                              Name{QLatin1String("track"), QLatin1String("track number")},
                              Name{QLatin1String("disc"), QLatin1String("disc number")},
                              Name{QLatin1String("composer"), QLatin1String("composer")},
                              Name{QLatin1String("copyright"), QLatin1String("copyright")},
                              Name{QLatin1String("isrc"), QLatin1String("isrc")},
                              Name{QLatin1String("bpm"), QLatin1String("tempo")},
                              Name{QLatin1String("lyrics"), QLatin1String("lyrics")},
                              Name{QLatin1String("unsynced lyrics"), QLatin1String("lyrics")},
                              Name{QLatin1String("grouping"), QLatin1String("grouping")},
                              Name{QLatin1String("compilation"), QLatin1String("compilation")}};

struct Item {
    uint32_t flags = 0;
    QByteArray name;
    QByteArray value;
};

uint32_t uint32At(const QByteArray& bytes, qsizetype offset)
{
    return qFromLittleEndian<quint32>(bytes.constData() + offset);
}

QByteArray littleEndian32(qsizetype value)
{
    QByteArray bytes(4, Qt::Uninitialized);
    qToLittleEndian(static_cast<quint32>(value), bytes.data());
    return bytes;
}

/// Nothing where the items do not fill the tag.
std::optional<QList<Item>> itemsOf(const QByteArray& bytes)
{
    QList<Item> items;
    for (qsizetype offset = 0; offset < bytes.size();) {
        const qsizetype nameEnd = bytes.indexOf('\0', offset + itemHeaderLength);
        if (offset + itemHeaderLength >= bytes.size() || nameEnd < 0)
            return std::nullopt;
        const qsizetype length = uint32At(bytes, offset);
        if (length > bytes.size() - nameEnd - 1)
            return std::nullopt;
        const qsizetype nameOffset = offset + itemHeaderLength;
        items.append({uint32At(bytes, offset + 4), bytes.sliced(nameOffset, nameEnd - nameOffset),
                      bytes.sliced(nameEnd + 1, length)});
        offset = nameEnd + 1 + length;
    }
    return items;
}

QByteArray bytesOf(const Item& item)
{
    return littleEndian32(item.value.size()) + littleEndian32(item.flags) + item.name + '\0' + item.value;
}

std::optional<QString> keyOf(const Item& item)
{
    const QString name = QString::fromLatin1(item.name).toLower();
    const auto* const found =
        std::find_if(names.begin(), names.end(), [&](const Name& each) { return each.name == name; });
    return found == names.end() || (item.flags & kindOfValue) != isText ? std::nullopt
                                                                        : std::optional(QString(found->key));
}

/// The front cover, else the first picture.
QByteArray coverOf(const QList<AttachedPicture>& pictures)
{
    constexpr uint32_t frontCover = 3;
    const auto front = std::find_if(pictures.begin(), pictures.end(), [](const AttachedPicture& each) {
        return each.pictureType() == frontCover;
    });
    if (front != pictures.end())
        return front->pictureData();
    return pictures.isEmpty() ? QByteArray() : pictures.front().pictureData();
}

/// A file name, its NUL and the picture.
void editCover(Item& item, const AudioMetadata& read, const AudioMetadata& now)
{
    const qsizetype nameEnd = item.value.indexOf('\0');
    const bool isCover = QString::fromLatin1(item.name).toLower() == u"cover art (front)";
    if (!isCover || (item.flags & kindOfValue) != isBinary || nameEnd < 0)
        return;
    const QByteArray cover = coverOf(now.artwork());
    if (cover == coverOf(read.artwork()))
        return;
    item.value = cover.isEmpty() ? QByteArray() : item.value.first(nameEnd + 1) + cover;
}

/// Several values stand side by side with a NUL between them; the model has them as "A; B".
void editText(Item& item, const QMap<QString, QString>& changes)
{
    const auto key = keyOf(item);
    if (!key || !changes.contains(*key))
        return;
    QString text = changes.value(*key);
    if (item.value.contains('\0'))
        text.replace(QStringLiteral("; "), QString(QChar::Null));
    item.value = text.toUtf8();
}

} // namespace

QByteArray editedApe(const QByteArray& tag, const AudioMetadata& read, const AudioMetadata& now)
{
    if (tag.size() < frameLength)
        return tag;
    QByteArray header = tag.startsWith("APETAGEX") ? tag.first(frameLength) : QByteArray();
    QByteArray footer = tag.last(frameLength);
    if (!footer.startsWith("APETAGEX") || tag.size() == header.size())
        footer.clear();
    const auto items = itemsOf(tag.sliced(header.size(), tag.size() - header.size() - footer.size()));
    if (!items)
        return tag;
    const QMap<QString, QString> changes = ValueChanges::changedTexts(read, now);
    QByteArray edited;
    qsizetype count = 0;
    for (const Item& before : *items) {
        Item item = before;
        editText(item, changes);
        editCover(item, read, now);
        if (item.value.isEmpty() && !before.value.isEmpty())
            continue;
        edited += bytesOf(item);
        ++count;
    }
    if (count == 0 && !items->isEmpty())
        return {};
    for (QByteArray* const frame : {&header, &footer}) {
        if (frame->isEmpty())
            continue;
        frame->replace(lengthOffset, 4, littleEndian32(edited.size() + footer.size()));
        frame->replace(countOffset, 4, littleEndian32(count));
    }
    return header + edited + footer;
}

} // namespace velloria::OtherTagEdits
