#include "formats/mpeg4/Mpeg4MovieEdit.h"

#include "formats/mpeg4/Mpeg4Tags.h"
#include "formats/streams/BigEndianOutputStream.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <utility>

namespace velloria::Mpeg4MovieEdit
{

namespace
{

using Child = Mpeg4Box::Child;
using Changed = std::optional<QByteArray>;
using Mpeg4Tags::Item;

constexpr FourCharCode kUserData = fourCharCode("udta");
constexpr FourCharCode kMeta = fourCharCode("meta");
constexpr FourCharCode kItems = fourCharCode("ilst");

/// A box with the first box along a path within it made anew: `change` gives the new one.
QByteArray payloadWithDescendant(const Mpeg4Box& parent, std::span<const FourCharCode> path,
                                 const std::function<QByteArray(const Mpeg4Box&)>& change)
{
    bool isFound = false;
    return mpeg4PayloadWith(parent, [&](const Child& child, const Mpeg4Box& payload) -> Changed {
        if (child.type != path.front() || isFound)
            return std::nullopt;
        isFound = true;
        return path.size() == 1
                   ? change(payload)
                   : mpeg4Box(child.type, payloadWithDescendant(payload, path.subspan(1), change));
    });
}

bool isGapless(const Child& child, const Mpeg4Box& payload)
{
    return child.type == fourCharCode("----") && Mpeg4Tags::freeFormName(payload) == u"iTunSMPB";
}

bool hasGapless(const Mpeg4Box& items)
{
    const std::vector<Child> all = items.allChildren();
    return std::any_of(all.begin(), all.end(),
                       [&](const Child& child) { return isGapless(child, items.payloadOf(child)); });
}

/// An item with other values. What else stands in it stays, so does what a free-form item is called.
QByteArray itemWith(const Mpeg4Box& old, FourCharCode type, const Mpeg4Box& made)
{
    constexpr FourCharCode value = fourCharCode("data");
    QByteArray values;
    for (const Child& child : made.allChildren()) {
        if (child.type == value)
            values += made.wholeOf(child);
    }
    return mpeg4Box(type, mpeg4PayloadWith(old, [&](const Child& child, const Mpeg4Box&) -> Changed {
                        if (child.type != value)
                            return std::nullopt;
                        return std::exchange(values, QByteArray());
                    }));
}

const Item* findItem(const std::vector<Item>& items, const QString& key)
{
    const auto found = std::find_if(items.begin(), items.end(),
                                    [&key](const Item& each) { return each.isRead && each.key == key; });
    return found == items.end() ? nullptr : &*found;
}

/// The list of items with those that differ made anew. Further items of a changed key go: some programs would
/// show them in place of the new value.
QByteArray itemsWith(const Mpeg4Box& old, const Mpeg4Box& made, const Tags& tags)
{
    const MetadataDictionary before = tags.before.dictionary();
    const MetadataDictionary now = tags.now.dictionary();
    const auto isChanged = [&](const QString& key) {
        if (key == MetadataKey::attachedPictures)
            return tags.before.artwork() != tags.now.artwork();
        return !key.isEmpty() && before.value(key) != now.value(key);
    };
    const std::vector<Item> oldItems = Mpeg4Tags::itemsOfList(old);
    const std::vector<Item> madeItems = Mpeg4Tags::itemsOfList(made);
    size_t index = 0;
    QByteArray bytes = mpeg4PayloadWith(old, [&](const Child& child, const Mpeg4Box& payload) -> Changed {
        const Item& item = oldItems[index++];
        if (isGapless(child, payload))
            return tags.keepsGaplessText ? std::nullopt : Changed(QByteArray());
        if (!isChanged(item.key))
            return std::nullopt;
        const Item* const news = item.isRead ? findItem(madeItems, item.key) : nullptr;
        return news ? itemWith(payload, news->child.type, made.payloadOf(news->child)) : QByteArray();
    });
    const bool hadGapless = hasGapless(old);
    for (const Item& item : madeItems) {
        const bool isWanted = isGapless(item.child, made.payloadOf(item.child))
                                  ? hadGapless
                                  : isChanged(item.key) && !findItem(oldItems, item.key);
        if (isWanted)
            bytes += made.wholeOf(item.child);
    }
    return bytes;
}

QByteArray metaWith(const Mpeg4Box& meta, const Mpeg4Box& made, const Tags& tags)
{
    const Mpeg4Box boxes = Mpeg4Tags::boxesOfMeta(meta);
    bool hasItems = false;
    QByteArray payload = mpeg4PayloadWith(boxes, [&](const Child& child, const Mpeg4Box& items) -> Changed {
        if (child.type != kItems || hasItems)
            return std::nullopt;
        hasItems = true;
        return mpeg4Box(kItems, itemsWith(items, made, tags));
    });
    if (!hasItems)
        payload += mpeg4Box(kItems, itemsWith(Mpeg4Box(QByteArray()), made, tags));
    return mpeg4Box(kMeta, meta.copy(0, meta.size() - boxes.size()) + payload);
}

/// A box with a new child in the place of one that it has (`old`, by its payload), else in front of the zeros
/// at the end. Others of the same type stay.
QByteArray payloadWithChild(const Mpeg4Box& parent, const Mpeg4Box& old, const QByteArray& made)
{
    bool isPlaced = false;
    QByteArray payload = mpeg4PayloadWith(parent, [&](const Child&, const Mpeg4Box& each) -> Changed {
        if (isPlaced || !Mpeg4Tags::isSame(each, old))
            return std::nullopt;
        isPlaced = true;
        return made;
    });
    if (isPlaced || made.isEmpty())
        return payload;
    const std::vector<Child> children = parent.allChildren();
    return payload.insert(static_cast<qsizetype>(children.empty() ? 0 : children.back().end()), made);
}

/// The payload of a 'trak' box with a reference to chapters put in or taken out.
QByteArray withChapterReference(const Mpeg4Box& track, uint32_t trackID, bool isAdded)
{
    constexpr FourCharCode references = fourCharCode("tref");
    constexpr FourCharCode chapters = fourCharCode("chap");
    const Mpeg4Box old = track.descendant({references});
    const Mpeg4Box oldList = old.descendant({chapters});
    BigEndianOutputStream list;
    for (size_t i = 0; i < oldList.size() / 4; ++i) {
        if (oldList.number32(4 * i) != trackID)
            list.writeUInt32(oldList.number32(4 * i));
    }
    if (isAdded)
        list.writeUInt32(trackID);
    if (list.data() == oldList.copy(0, oldList.size()))
        return track.copy(0, track.size());
    const QByteArray made = list.data().isEmpty() ? QByteArray() : mpeg4Box(chapters, list.data());
    const QByteArray all = payloadWithChild(old, oldList, made);
    return payloadWithChild(track, old, all.isEmpty() ? QByteArray() : mpeg4Box(references, all));
}

/// The list goes where one was, else to the tags; any other list would contradict it.
QByteArray withChapterList(const Mpeg4Box& movie, const QByteArray& list)
{
    constexpr FourCharCode chapters = fourCharCode("chpl");
    const auto hasList = [](const Mpeg4Box& userData) { return !userData.children(chapters).empty(); };
    const std::vector<Mpeg4Box> all = movie.children(kUserData);
    const auto found = std::find_if(all.begin(), all.end(), hasList);
    const Mpeg4Box place = found == all.end() ? Mpeg4Tags::userDataOf(movie) : *found;
    if (all.empty())
        return payloadWithChild(movie, place, list.isEmpty() ? QByteArray() : mpeg4Box(kUserData, list));
    return mpeg4PayloadWith(movie, [&](const Child& child, const Mpeg4Box& userData) -> Changed {
        const bool isPlace = Mpeg4Tags::isSame(userData, place);
        if (child.type != kUserData || !(isPlace || hasList(userData)))
            return std::nullopt;
        const QByteArray others =
            mpeg4PayloadWith(userData, [](const Child& each, const Mpeg4Box&) -> Changed {
                return each.type == chapters ? Changed(QByteArray()) : std::nullopt;
            });
        const Mpeg4Box none{std::span<const uint8_t>()};
        const QByteArray payload = payloadWithChild(Mpeg4Box(others), none, isPlace ? list : QByteArray());
        return payload.isEmpty() ? payload : mpeg4Box(kUserData, payload);
    });
}

} // namespace

QByteArray trackWithOffsets(const Mpeg4Box& track, std::span<const int64_t> offsets, bool isWide)
{
    constexpr FourCharCode narrow = fourCharCode("stco");
    constexpr FourCharCode wide = fourCharCode("co64");
    BigEndianOutputStream out;
    out.writeUInt32(0);
    out.writeUInt32(static_cast<uint32_t>(offsets.size()));
    for (const int64_t offset : offsets) {
        if (isWide)
            out.writeSInt64(offset);
        else
            out.writeUInt32(static_cast<uint32_t>(offset));
    }
    const QByteArray made = mpeg4Box(isWide ? wide : narrow, out.data());
    const std::array path = {fourCharCode("mdia"), fourCharCode("minf"), fourCharCode("stbl")};
    return payloadWithDescendant(track, path, [&](const Mpeg4Box& tables) {
        return mpeg4Box(path.back(), mpeg4PayloadWith(tables, [&](const Child& child, const Mpeg4Box&) {
                            return child.type == narrow || child.type == wide ? Changed(made) : std::nullopt;
                        }));
    });
}

bool hasGaplessText(const Mpeg4Box& movie)
{
    return hasGapless(Mpeg4Tags::itemsOfMeta(Mpeg4Tags::metaOf(movie)));
}

QByteArray movieWithTags(const Mpeg4Box& movie, const Tags& tags)
{
    const QByteArray whole = Mpeg4Tags::box(tags.now, tags.gaplessText);
    const Mpeg4Box outer(whole);
    const Mpeg4Box made = outer.descendant({kMeta});
    const Mpeg4Box items = Mpeg4Tags::itemsOfMeta(made);
    const Mpeg4Box userData = Mpeg4Tags::userDataOf(movie);
    const Mpeg4Box inUserData = userData.descendant({kMeta});
    const auto withUserData = [&](const QByteArray& meta) {
        return payloadWithChild(movie, userData,
                                mpeg4Box(kUserData, payloadWithChild(userData, inUserData, meta)));
    };
    const bool isForeign = !inUserData.isEmpty() && !Mpeg4Tags::hasNamedItems(inUserData);
    if (!inUserData.isEmpty() && !isForeign)
        return withUserData(metaWith(inUserData, items, tags));
    const Mpeg4Box inMovie = movie.descendant({kMeta});
    if (!inMovie.isEmpty() && Mpeg4Tags::hasNamedItems(inMovie))
        return payloadWithChild(movie, inMovie, metaWith(inMovie, items, tags));
    if (made.isEmpty() || tags.now.dictionary() == tags.before.dictionary())
        return movie.copy(0, movie.size());
    if (!isForeign)
        return withUserData(metaWith(made, items, tags));
    // Our items have no place in a list of keys, and a box of user data holds one list only. Many readers
    // look into the first box and no further.
    return payloadWithChild(movie, userData,
                            mpeg4Box(kUserData, metaWith(made, items, tags)) +
                                mpeg4Box(kUserData, userData.copy(0, userData.size())));
}

QByteArray movieWithChapters(const Mpeg4Box& movie, const Chapters& chapters)
{
    constexpr FourCharCode header = fourCharCode("mvhd");
    const QByteArray payload =
        mpeg4PayloadWith(movie, [&](const Child& child, const Mpeg4Box& old) -> Changed {
            if (child.type == header && chapters.isNew) {
                QByteArray bytes = movie.wholeOf(child);
                qToBigEndian(chapters.trackID + 1, bytes.data() + bytes.size() - 4);
                return bytes;
            }
            if (child.type != fourCharCode("trak"))
                return std::nullopt;
            const uint32_t id = mpeg4TrackID(old);
            if (id == chapters.trackID)
                return chapters.track;
            if (chapters.isNew && id == chapters.soundTrackID)
                return mpeg4Box(child.type, withChapterReference(old, chapters.trackID, true)) +
                       chapters.track;
            if (chapters.track.isEmpty())
                return mpeg4Box(child.type, withChapterReference(old, chapters.trackID, false));
            return std::nullopt;
        });
    return withChapterList(Mpeg4Box(payload), chapters.list);
}

} // namespace velloria::Mpeg4MovieEdit
