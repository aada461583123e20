#include "formats/tagediting/Id3Intake.h"

#include "formats/tags/Id3Parser.h"
#include "formats/tags/ValueChanges.h"

namespace velloria
{

std::optional<FileLedger> takeInId3Tag(const QByteArray& tag, AudioMetadata& metadata, bool takesChapters)
{
    FileLedger ledger;
    const auto tags = parseId3Tag(tag, &ledger, takesChapters);
    if (!tags)
        return std::nullopt;
    metadata.setValuesWithDictionary(*tags);
    ValueChanges::declare(*tags, metadata, ledger, Keeping::withTag);
    return ledger;
}

} // namespace velloria
