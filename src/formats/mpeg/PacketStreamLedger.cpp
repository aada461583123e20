#include "formats/mpeg/PacketStreamLedger.h"

#include "formats/tagediting/TagsAround.h"

namespace velloria
{

namespace
{

QString nameOf(const ElementaryStreams::Stretch& stretch, int64_t start, int64_t end)
{
    const QString bytes = QStringLiteral("%1 bytes").arg(stretch.length);
    if (stretch.kind == ElementaryStreams::Stretch::Kind::cutPacket)
        return QStringLiteral("a cut packet (%1)").arg(bytes);
    if (stretch.offset == start)
        return QStringLiteral("%1 in front of the sound").arg(bytes);
    if (stretch.offset + stretch.length == end)
        return QStringLiteral("%1 behind the sound").arg(bytes);
    return QStringLiteral("%1 between the packets of the sound").arg(bytes);
}

} // namespace

std::optional<ByteRange> packetStreamBytes(const FileHandle& handle)
{
    const std::vector<TagsAround::Tag> tags = TagsAround::inFront(handle);
    const int64_t start = tags.empty() ? 0 : tags.back().bytes.end();
    const std::vector<TagsAround::Tag> tagsBehind = TagsAround::behind(handle, start);
    const int64_t end = tagsBehind.empty() ? handle.length() : tagsBehind.back().bytes.offset;
    return start < end ? std::optional(ByteRange{start, end - start}) : std::nullopt;
}

FileLedger packetStreamLedger(const FileHandle& handle, bool isMpegAudio,
                              const std::optional<FileLedger>& id3Tag,
                              ElementaryStreams::MpegPacketTraits* traits)
{
    using Kind = ElementaryStreams::Stretch::Kind;
    FileLedger ledger;
    std::vector<TagsAround::Tag> tags = TagsAround::inFront(handle);
    int64_t start = tags.empty() ? 0 : tags.back().bytes.end();
    if (start >= handle.length()) {
        // A tag that claims more than there is; the sound may stand within it.
        tags.clear();
        start = 0;
    }
    if (id3Tag && !tags.empty()) {
        ledger.addNested(*id3Tag, 0);
        tags.erase(tags.begin());
        for (TagsAround::Tag& tag : tags)
            tag.name = QStringLiteral("a second %1").arg(tag.name);
    }
    if (isMpegAudio && !id3Tag && !tags.empty() && tags.front().kind == TagsAround::Tag::Kind::id3) {
        // One that cannot be read gives way to a new one.
        TagsAround::declare({tags.front()}, Keeping::notKept, ledger);
        tags.erase(tags.begin());
    }
    TagsAround::declare(tags, Keeping::withTag, ledger);
    const std::vector<TagsAround::Tag> tagsBehind = TagsAround::behind(handle, start);
    TagsAround::declare(tagsBehind, Keeping::withTag, ledger);
    const int64_t end = tagsBehind.empty() ? handle.length() : tagsBehind.back().bytes.offset;
    for (const auto& stretch : ElementaryStreams::stretches(handle, start, end, isMpegAudio, traits)) {
        const ByteRange bytes = {stretch.offset, stretch.length};
        if (stretch.kind == Kind::packets)
            ledger.addInModel(bytes);
        else if (stretch.kind == Kind::other && handle.holdsOnlyZeros(bytes.offset, bytes.length))
            ledger.addStructure(bytes);
        else
            ledger.addWithSound(nameOf(stretch, start, end), bytes);
    }
    return ledger;
}

} // namespace velloria
