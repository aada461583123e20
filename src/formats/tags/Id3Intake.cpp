#include "formats/tags/Id3Intake.h"

#include "formats/tags/Id3Parser.h"

namespace velloria
{

std::optional<QStringList> takeInId3Tag(const QByteArray& tag, AudioMetadata& metadata)
{
    static const QStringList tagsOfTheFileItself = {QStringLiteral("file length"),
                                                    QStringLiteral("file size"), QStringLiteral("file type")};
    QStringList framesNotRead;
    const auto tags = parseId3Tag(tag, &framesNotRead);
    if (!tags)
        return std::nullopt;
    metadata.setValuesWithDictionary(*tags);
    QStringList keysNotKept;
    for (const QString& key : orderedMetadataKeys(*tags)) {
        if (!AudioMetadata::dictionaryKeys().contains(key) && !tagsOfTheFileItself.contains(key))
            keysNotKept.append(key);
    }
    return keysNotKept + framesNotRead;
}

} // namespace velloria
