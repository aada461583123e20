#include "formats/tags/Id3Parser.h"

namespace velloria
{

namespace
{

/// All but the frames.
void declareStructure(const Id3Layout& layout, int64_t tagLength, FileLedger& ledger)
{
    ledger.addStructure({0, id3HeaderLength});
    ledger.addStructure(layout.extendedHeader());
    if (layout.hasFooter())
        ledger.addStructure({tagLength - id3HeaderLength, id3HeaderLength});
    if (layout.restIsPadding())
        ledger.addStructure(layout.rest());
}

} // namespace

void collectId3Frames(const Id3Layout& layout, Id3FrameCollector& collector)
{
    for (const Id3StoredFrame& frame : layout.frames()) {
        if (frame.isUnreadable)
            collector.addUnreadableFrame(frame.id, frame.bytes);
        else if (layout.version() == 2)
            collector.addVersion2Frame(frame.id, frame.payload, frame.bytes);
        else if (frame.isUnsynchronised)
            collector.addFrame(frame.id, frame.content(), frame.bytes);
        else
            collector.addFrame(frame.id, frame.payload, frame.bytes);
    }
}

std::optional<MetadataDictionary> parseId3Tag(QByteArrayView tag, FileLedger* ledger, bool takesChapters)
{
    const auto layout = Id3Layout::ofTag(tag);
    if (!layout)
        return std::nullopt;
    FileLedger ownLedger;
    FileLedger& account = ledger ? *ledger : ownLedger;
    declareStructure(*layout, tag.size(), account);
    Id3FrameCollector collector;
    collector.setTakesChapters(takesChapters);
    collectId3Frames(*layout, collector);
    MetadataDictionary values = collector.take(account);
    if (!layout->restIsPadding())
        account.add({ItemKind::part, Keeping::withTag,
                     QStringLiteral("a damaged part of the ID3 tag (%1 bytes)").arg(layout->rest().length),
                     layout->rest()});
    return values;
}

} // namespace velloria
