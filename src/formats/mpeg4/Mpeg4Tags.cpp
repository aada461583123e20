#include "formats/mpeg4/Mpeg4Tags.h"

#include "platform/codec/Mpeg4Box.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <taglib/mp4coverart.h>
#include <taglib/mp4file.h>
#include <taglib/mp4tag.h>
#include <taglib/tbytevectorstream.h>

namespace velloria::Mpeg4Tags
{

namespace
{

enum class Kind { text, number, byte, flag, position };

/// Which item of the list holds which key of the metadata dictionary. The first letter of many names is the
/// copyright sign in Latin-1.
struct Row {
    const char* item;
    const char16_t* key;
    Kind kind = Kind::text;
};

constexpr std::array rows = {
    Row{"\251nam", u"title"},
    Row{"\251ART", u"artist"},
    Row{"aART", u"album artist"},
    Row{"\251alb", u"album"},
    Row{"\251grp", u"grouping"},
    Row{"\251wrt", u"composer"},
    Row{"\251cmt", u"comments"},
    Row{"\251day", u"year"},
    Row{"\251gen", u"genre"},
    Row{"trkn", u"track number", Kind::position},
    Row{"disk", u"disc number", Kind::position},
    Row{"tmpo", u"tempo", Kind::number},
    Row{"rtng", u"advisory", Kind::byte},
    Row{"cpil", u"compilation", Kind::flag},
    Row{"pgap", u"gapless", Kind::flag},
    Row{"pcst", u"podcast", Kind::flag},
    Row{"cprt", u"copyright"},
    Row{"\251dir", u"director"},
    Row{"\251fmt", u"format"},
    Row{"\251too", u"encoding application"},
    Row{"purd", u"purchase date"},
    Row{"catg", u"category"},
    Row{"egid", u"egid"},
    Row{"desc", u"description"},
    Row{"ldes", u"long description"},
    Row{"keyw", u"keywords"},
    Row{"purl", u"podcast url"},
    Row{"\251lyr", u"lyrics"},
    Row{"----:com.apple.iTunes:ISRC", u"isrc"},
};

const char* const picturesItem = "covr";
const char* const gaplessItem = "----:com.apple.iTunes:iTunSMPB";

QString fromTagLib(const TagLib::String& text)
{
    return QString::fromStdString(text.to8Bit(true));
}

TagLib::String toTagLib(const QString& text)
{
    return {text.toUtf8().toStdString(), TagLib::String::UTF8};
}

QByteArray fromTagLib(const TagLib::ByteVector& bytes)
{
    return {bytes.data(), static_cast<qsizetype>(bytes.size())};
}

QString keyOf(const Row& row)
{
    return QString::fromUtf16(row.key);
}

QString textOf(const TagLib::MP4::Item& item)
{
    QStringList values;
    // Free-form items that do not say that they are text.
    for (const TagLib::ByteVector& value : item.toByteVectorList())
        values.append(QString::fromUtf8(fromTagLib(value)));
    for (const TagLib::String& value : item.toStringList())
        values.append(fromTagLib(value));
    return values.join(QStringLiteral("; "));
}

QString positionText(const TagLib::MP4::Item& item)
{
    const auto [number, total] = item.toIntPair();
    return total > 0 ? QStringLiteral("%1/%2").arg(number).arg(total) : QString::number(number);
}

QVariant valueOf(const Row& row, const TagLib::MP4::Item& item)
{
    switch (row.kind) {
    case Kind::text:
        break;
    case Kind::number:
        return QString::number(item.toInt());
    case Kind::byte:
        return QString::number(item.toByte());
    case Kind::flag:
        return QString::number(item.toBool() ? 1 : 0);
    case Kind::position:
        return positionText(item);
    }
    return textOf(item);
}

TagLib::MP4::Item itemOf(const Row& row, const QString& value)
{
    const auto number = [](const QString& text) {
        return static_cast<int>(std::clamp<int64_t>(leadingInteger(text).value_or(0), 0, 0xFFFF));
    };
    switch (row.kind) {
    case Kind::text:
        break;
    case Kind::number:
        return {number(value)};
    case Kind::byte:
        return {static_cast<unsigned char>(std::min(number(value), 255))};
    case Kind::flag:
        return {number(value) != 0};
    case Kind::position:
        return {number(value.section(u'/', 0, 0)), number(value.section(u'/', 1, 1))};
    }
    return {TagLib::StringList(toTagLib(value))};
}

QList<AttachedPicture> picturesOf(const TagLib::MP4::Item& item)
{
    QList<AttachedPicture> pictures;
    for (const TagLib::MP4::CoverArt& cover : item.toCoverArtList()) {
        auto picture = AttachedPicture::withPictureData(fromTagLib(cover.data()));
        if (!picture)
            continue;
        if (cover.format() == TagLib::MP4::CoverArt::BMP)
            picture->setImageFormat(QStringLiteral("image/bmp"));
        else if (cover.format() == TagLib::MP4::CoverArt::GIF)
            picture->setImageFormat(QStringLiteral("image/gif"));
        pictures.append(*picture);
    }
    return pictures;
}

uint32_t formatOf(const AttachedPicture& picture)
{
    using CoverArt = TagLib::MP4::CoverArt;
    if (picture.imageFormat() == u"image/bmp")
        return CoverArt::BMP;
    if (picture.imageFormat() == u"image/gif")
        return CoverArt::GIF;
    return picture.imageUTI() == u"public.png" ? CoverArt::PNG : CoverArt::JPEG;
}

constexpr qsizetype pictureFormatBytes = 8; // and a locale, which nobody uses

qsizetype numPictureBytes(const QList<AttachedPicture>& pictures)
{
    qsizetype size = 0;
    for (const AttachedPicture& picture : pictures)
        size += mpeg4BoxHeaderBytes + pictureFormatBytes + picture.pictureData().size();
    return size;
}

/// Appends the item of the pictures, put together here because the library would copy each of them six times.
void appendPictures(QByteArray& items, const QList<AttachedPicture>& pictures)
{
    items += mpeg4BoxHeader(fourCharCode("covr"), static_cast<size_t>(numPictureBytes(pictures)));
    for (const AttachedPicture& picture : pictures) {
        const QByteArray& data = picture.pictureData();
        QByteArray format(pictureFormatBytes, '\0');
        qToBigEndian(formatOf(picture), format.data());
        items += mpeg4BoxHeader(fourCharCode("data"), static_cast<size_t>(pictureFormatBytes + data.size()));
        items += format;
        items += data;
    }
}

/// A file with nothing but the tags of another one: what the library is shown, so that it meets neither the
/// index of a long file nor the sound. Tags can be as large as their pictures, so they are copied once only.
TagLib::ByteVector fileAround(const Mpeg4Box& meta)
{
    constexpr auto headerBytes = static_cast<size_t>(mpeg4BoxHeaderBytes);
    const size_t metaBytes = meta.isEmpty() ? 0 : headerBytes + meta.size();
    QByteArray head = mpeg4Box(fourCharCode("ftyp"), QByteArray("M4A \0\0\0\0", 8)) +
                      mpeg4BoxHeader(fourCharCode("moov"), headerBytes + metaBytes) +
                      mpeg4BoxHeader(fourCharCode("udta"), metaBytes);
    if (!meta.isEmpty())
        head += mpeg4BoxHeader(fourCharCode("meta"), meta.size());
    TagLib::ByteVector bytes(static_cast<unsigned>(static_cast<size_t>(head.size()) + meta.size()));
    std::copy(meta.bytes().begin(), meta.bytes().end(), std::copy(head.begin(), head.end(), bytes.begin()));
    return bytes;
}

/// A 'meta' box with pictures added to its list.
QByteArray metaWithPictures(const Mpeg4Box& meta, const QList<AttachedPicture>& pictures)
{
    constexpr FourCharCode list = fourCharCode("ilst");
    constexpr size_t versionBytes = 4;
    if (meta.size() < versionBytes)
        return {};
    const Mpeg4Box boxes(meta.bytes().subspan(versionBytes));
    const Mpeg4Box items = boxes.descendant({list});
    const QByteArray others = meta.copy(0, versionBytes) + boxes.childrenWithout(list);
    const qsizetype pictureBytes = pictures.isEmpty() ? 0 : mpeg4BoxHeaderBytes + numPictureBytes(pictures);
    const size_t itemBytes = items.size() + static_cast<size_t>(pictureBytes);
    const size_t size = static_cast<size_t>(others.size() + mpeg4BoxHeaderBytes) + itemBytes;
    QByteArray box;
    box.reserve(mpeg4BoxHeaderBytes + static_cast<qsizetype>(size));
    box += mpeg4BoxHeader(fourCharCode("meta"), size) + others + mpeg4BoxHeader(list, itemBytes) +
           items.copy(0, items.size());
    if (!pictures.isEmpty())
        appendPictures(box, pictures);
    return box;
}

TagLib::MP4::ItemMap itemsOf(const FileHandle& file)
{
    TagLib::ByteVectorStream stream([&] {
        const QByteArray movie = readMpeg4Movie(file);
        return fileAround(metaOf(Mpeg4Box(movie)));
    }());
    const TagLib::MP4::File tagFile(&stream, false);
    return tagFile.isValid() && tagFile.tag() ? tagFile.tag()->itemMap() : TagLib::MP4::ItemMap();
}

/// The tags as they are written: this program is their encoder.
AudioMetadata withEncoder(const AudioMetadata& metadata)
{
    AudioMetadata named = metadata;
    if (metadata.isNotEmpty())
        named.setEncodingApplication(QStringLiteral("Velloria"));
    return named;
}

/// The items of a file that was put together from metadata.
TagLib::MP4::ItemMap itemsOf(const AudioMetadata& metadata)
{
    TagLib::MP4::ItemMap items;
    const MetadataDictionary dictionary = metadata.dictionary();
    for (const Row& row : rows) {
        if (const QString value = metadataText(dictionary.value(keyOf(row))); !value.isEmpty())
            items.insert(row.item, itemOf(row, value));
    }
    return items;
}

/// All but the pictures.
MetadataDictionary dictionaryOf(const TagLib::MP4::ItemMap& items)
{
    MetadataDictionary dictionary;
    for (const Row& row : rows) {
        if (!items.contains(row.item))
            continue;
        const QVariant value = valueOf(row, items[row.item]);
        if (!value.toString().isEmpty())
            dictionary.insert(keyOf(row), value);
    }
    return dictionary;
}

/// What the library calls an item.
QByteArray nameOfItem(FourCharCode item, const Mpeg4Box& payload)
{
    if (item != fourCharCode("----"))
        return fourCharText(item);
    const auto textOfChild = [&payload](FourCharCode type) {
        const Mpeg4Box child = payload.descendant({type});
        return child.copy(4, child.size());
    };
    return "----:" + textOfChild(fourCharCode("mean")) + ':' + textOfChild(fourCharCode("name"));
}

/// Whether the library takes in an item that it knows: values come first, apart from what a free-form item is
/// called, and texts are in UTF-8.
bool isReadable(FourCharCode item, const Mpeg4Box& payload)
{
    constexpr uint32_t utf8 = 1;
    const std::vector<Mpeg4Box::Child> children = payload.allChildren();
    const size_t first = item == fourCharCode("----") ? 2 : 0;
    if (children.size() <= first || children[first].type != fourCharCode("data"))
        return false;
    const auto row = std::find_if(rows.begin(), rows.end(),
                                  [item](const Row& each) { return fourCharText(item) == each.item; });
    const bool isText = row != rows.end() && row->kind == Kind::text;
    return !isText || payload.payloadOf(children[first]).number32(0) == utf8;
}

QString quoted(const QString& text)
{
    constexpr qsizetype most = 60;
    return QStringLiteral("“%1”").arg(text.size() > most ? text.first(most) + u'…' : text);
}

/// Empty when the item comes out as it went in.
QString alterationOf(const Row& row, const TagLib::MP4::Item& read, const TagLib::MP4::Item* written)
{
    const TagLib::StringList values = row.kind == Kind::text ? read.toStringList() : TagLib::StringList();
    const QString before = valueOf(row, read).toString();
    const QString after = written ? valueOf(row, *written).toString() : QString();
    if (values.size() > 1) {
        QStringList names;
        for (const TagLib::String& value : values)
            names.append(quoted(fromTagLib(value)));
        return QStringLiteral("%1 become %2").arg(names.join(QStringLiteral(", ")), quoted(after));
    }
    // A flag that is off and one that is not there are the same.
    const bool isNothing = before.isEmpty() || before == u"0";
    if (before == after || (after.isEmpty() && isNothing))
        return {};
    return after.isEmpty() ? QStringLiteral("%1 (%2) is left out").arg(quoted(before), keyOf(row))
                           : QStringLiteral("%1 becomes %2").arg(quoted(before), quoted(after));
}

} // namespace

std::vector<Item> itemsOfList(const Mpeg4Box& list)
{
    std::vector<Item> items;
    for (const Mpeg4Box::Child& child : list.allChildren()) {
        const Mpeg4Box payload = list.payloadOf(child);
        const QString key = keyOfItem(child.type, payload);
        const bool hasValue = !key.isEmpty() && isReadable(child.type, payload);
        const bool isFirst = std::none_of(
            items.begin(), items.end(), [&key](const Item& each) { return each.isRead && each.key == key; });
        items.push_back({child, key, hasValue && isFirst});
    }
    return items;
}

QString keyOfItem(FourCharCode item, const Mpeg4Box& payload)
{
    // The library reads genres by their number, too.
    if (item == fourCharCode("gnre"))
        return MetadataKey::genre;
    if (item == qFromBigEndian<uint32_t>(picturesItem))
        return MetadataKey::attachedPictures;
    const QByteArray name = nameOfItem(item, payload);
    const auto found =
        std::find_if(rows.begin(), rows.end(), [&name](const Row& row) { return name == row.item; });
    return found == rows.end() ? QString() : keyOf(*found);
}

QString freeFormName(const Mpeg4Box& item)
{
    const Mpeg4Box name = item.descendant({fourCharCode("name")});
    return QString::fromUtf8(name.copy(4, name.size()));
}

void read(const FileHandle& file, AudioMetadata& metadata)
{
    const TagLib::MP4::ItemMap items = itemsOf(file);
    if (items.isEmpty())
        return;
    MetadataDictionary dictionary = dictionaryOf(items);
    if (items.contains(picturesItem))
        dictionary.insert(MetadataKey::attachedPictures,
                          QVariant::fromValue(picturesOf(items[picturesItem])));
    metadata.setValuesWithDictionary(dictionary);
}

MetadataDictionary tagsThrough(const AudioMetadata& metadata)
{
    AudioMetadata found;
    found.setValuesWithDictionary(dictionaryOf(itemsOf(withEncoder(metadata))));
    return found.dictionary();
}

std::vector<AlteredValue> alteredValues(const FileHandle& file, const AudioMetadata& metadata)
{
    const TagLib::MP4::ItemMap readItems = itemsOf(file);
    const TagLib::MP4::ItemMap writtenItems = itemsOf(metadata);
    const MetadataDictionary shown = metadata.dictionary();
    std::vector<AlteredValue> altered;
    for (const Row& row : rows) {
        const bool isOurs = keyOf(row) == MetadataKey::encodingApplication;
        if (!readItems.contains(row.item) || isOurs)
            continue;
        const bool isWritten = writtenItems.contains(row.item);
        const QString description =
            alterationOf(row, readItems[row.item], isWritten ? &writtenItems[row.item] : nullptr);
        if (!description.isEmpty())
            altered.push_back({keyOf(row), description, !shown.contains(keyOf(row))});
    }
    if (readItems.contains(picturesItem)) {
        const auto numPictures = static_cast<qsizetype>(readItems[picturesItem].toCoverArtList().size());
        if (numPictures > metadata.artwork().size())
            altered.push_back({MetadataKey::attachedPictures,
                               QStringLiteral("%1 pictures of an unknown form are left out")
                                   .arg(numPictures - metadata.artwork().size()),
                               true});
    }
    return altered;
}

QByteArray box(const AudioMetadata& metadata, const QByteArray& gaplessText)
{
    TagLib::ByteVectorStream stream(fileAround(Mpeg4Box(std::span<const uint8_t>())));
    TagLib::MP4::File file(&stream, false);
    TagLib::MP4::Tag& tag = *file.tag();
    for (const auto& [name, item] : itemsOf(withEncoder(metadata)))
        tag.setItem(name, item);
    if (!gaplessText.isEmpty())
        tag.setItem(gaplessItem, TagLib::StringList(toTagLib(QString::fromLatin1(gaplessText))));
    if (tag.isEmpty() || !file.save())
        return {};
    const TagLib::ByteVector& bytes = *stream.data();
    const Mpeg4Box whole(std::span(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()));
    return metaWithPictures(metaOf(whole.descendant({fourCharCode("moov")})), metadata.artwork());
}

} // namespace velloria::Mpeg4Tags
