#include "formats/mpeg4/Mpeg4MovieEdit.h"

#include "formats/mpeg4/Mpeg4Tags.h"
#include "formats/streams/BigEndianOutputStream.h"

#include <QtEndian>
#include <algorithm>
#include <array>

namespace velloria::Mpeg4MovieEdit
{

namespace
{

using Child = Mpeg4Box::Child;
using Changed = std::optional<QByteArray>;

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

Mpeg4Box itemsOf(const Mpeg4Box& meta)
{
    return Mpeg4Tags::boxesOfMeta(meta).descendant({kItems});
}

/// The list of items with those that differ made anew.
QByteArray itemsWith(const Mpeg4Box& old, const Mpeg4Box& made, const Tags& tags)
{
    const MetadataDictionary before = tags.before.dictionary();
    const MetadataDictionary now = tags.now.dictionary();
    const auto isChanged = [&](const Child& child, const Mpeg4Box& payload) {
        const QString key = Mpeg4Tags::keyOfItem(child.type, payload);
        if (key == MetadataKey::attachedPictures)
            return tags.before.artwork() != tags.now.artwork();
        return !key.isEmpty() && before.value(key) != now.value(key);
    };
    QByteArray bytes = mpeg4PayloadWith(old, [&](const Child& child, const Mpeg4Box& payload) -> Changed {
        const bool isStale = isChanged(child, payload) || isGapless(child, payload);
        return isStale ? Changed(QByteArray()) : std::nullopt;
    });
    const bool hadGapless = hasGapless(old);
    for (const Child& child : made.allChildren()) {
        const Mpeg4Box payload = made.payloadOf(child);
        const bool isWanted = isGapless(child, payload) ? hadGapless : isChanged(child, payload);
        if (isWanted)
            bytes += made.wholeOf(child);
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

/// A box with a child of a type put in the place of the one that it has, else in front of the zeros at the
/// end.
QByteArray payloadWithChild(const Mpeg4Box& parent, FourCharCode type, const QByteArray& made)
{
    bool isPlaced = false;
    QByteArray payload = mpeg4PayloadWith(parent, [&](const Child& child, const Mpeg4Box&) -> Changed {
        if (child.type != type)
            return std::nullopt;
        const QByteArray bytes = isPlaced ? QByteArray() : made;
        isPlaced = true;
        return bytes;
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
    const QByteArray all = payloadWithChild(old, chapters, made);
    return payloadWithChild(track, references, all.isEmpty() ? QByteArray() : mpeg4Box(references, all));
}

QByteArray withChapterList(const Mpeg4Box& movie, const QByteArray& list)
{
    const Mpeg4Box userData = movie.descendant({kUserData});
    const QByteArray payload = payloadWithChild(userData, fourCharCode("chpl"), list);
    return payloadWithChild(movie, kUserData,
                            payload.isEmpty() ? QByteArray() : mpeg4Box(kUserData, payload));
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
    return hasGapless(itemsOf(Mpeg4Tags::metaOf(movie)));
}

QByteArray movieWithTags(const Mpeg4Box& movie, const Tags& tags)
{
    const QByteArray whole = Mpeg4Tags::box(tags.now, tags.gaplessText);
    const Mpeg4Box outer(whole);
    const Mpeg4Box made = outer.descendant({kMeta});
    const Mpeg4Box items = itemsOf(made);
    const Mpeg4Box userData = movie.descendant({kUserData});
    const std::array inUserData = {kUserData, kMeta};
    const std::array inMovie = {kMeta};
    const auto change = [&](const Mpeg4Box& meta) { return metaWith(meta, items, tags); };
    if (!userData.descendant({kMeta}).isEmpty())
        return payloadWithDescendant(movie, inUserData, change);
    const Mpeg4Box meta = movie.descendant({kMeta});
    const bool isOurs =
        Mpeg4Tags::boxesOfMeta(meta).descendant({fourCharCode("hdlr")}).number32(8) == fourCharCode("mdir");
    if (isOurs)
        return payloadWithDescendant(movie, inMovie, change);
    if (made.isEmpty() || tags.now.dictionary() == tags.before.dictionary())
        return movie.copy(0, movie.size());
    const QByteArray withMeta = payloadWithChild(userData, kMeta, metaWith(made, items, tags));
    return payloadWithChild(movie, kUserData, mpeg4Box(kUserData, withMeta));
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
