#include "formats/tags/Id3Intake.h"

#include "formats/tags/Id3Parser.h"
#include "formats/tags/ValueChanges.h"

namespace velloria
{

std::optional<FileLedger> takeInId3Tag(const QByteArray& tag, AudioMetadata& metadata)
{
    FileLedger ledger;
    const auto tags = parseId3Tag(tag, &ledger);
    if (!tags)
        return std::nullopt;
    metadata.setValuesWithDictionary(*tags);
    ValueChanges::declare(*tags, metadata, ledger);
    return ledger;
}

MetadataDictionary tagsThroughId3(const AudioMetadata& metadata)
{
    AudioMetadata tags = metadata;
    tags.setArtwork({});
    AudioMetadata found;
    found.setValuesWithID3Data(tags.id3Data());
    return found.dictionary();
}

} // namespace velloria
