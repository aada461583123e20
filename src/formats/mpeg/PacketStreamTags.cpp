#include "formats/mpeg/PacketStreamTags.h"

#include "formats/mpeg/PacketStreamLedger.h"
#include "formats/tagediting/OtherTagEdits.h"

namespace velloria
{

PacketStreamTags PacketStreamTags::ofFile(const FileHandle& handle, FirstTag firstTag)
{
    const auto packets = packetStreamBytes(handle);
    if (!packets)
        return {};
    PacketStreamTags tags;
    const auto stored = [&handle](const TagsAround::Tag& tag) {
        return StoredTag{tag.kind, handle.readAt(tag.bytes.offset, tag.bytes.length)};
    };
    for (const TagsAround::Tag& tag : TagsAround::inFront(handle)) {
        const bool isFirst = tag.bytes.offset == 0 && tag.kind == TagsAround::Tag::Kind::id3;
        if (!isFirst || firstTag == FirstTag::carried)
            tags.mInFront.push_back(stored(tag));
        else if (firstTag == FirstTag::edited)
            tags.mId3 = stored(tag).bytes;
    }
    // They are found from the end of the file on.
    const std::vector<TagsAround::Tag> behind = TagsAround::behind(handle, packets->offset);
    for (auto tag = behind.rbegin(); tag != behind.rend(); ++tag)
        tags.mBehind.push_back(stored(*tag));
    return tags;
}

void PacketStreamTags::edit(const AudioMetadata& read, const AudioMetadata& now)
{
    for (std::vector<StoredTag>* const list : {&mInFront, &mBehind}) {
        for (StoredTag& tag : *list)
            tag.bytes = OtherTagEdits::edited(tag.kind, tag.bytes, read, now);
    }
}

QByteArray PacketStreamTags::front() const
{
    QByteArray bytes = mId3;
    for (const StoredTag& tag : mInFront)
        bytes += tag.bytes;
    return bytes;
}

QByteArray PacketStreamTags::behind() const
{
    QByteArray bytes;
    for (const StoredTag& tag : mBehind)
        bytes += tag.bytes;
    return bytes;
}

} // namespace velloria
