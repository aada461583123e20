#include "formats/comments/VorbisCommentNames.h"

#include "formats/tags/AudioMetadata.h"

#include <algorithm>

namespace velloria::VorbisCommentNames
{

namespace
{

const QList<Spelling>& spellings()
{
    static const QList<Spelling> list = {
        {QStringLiteral("year"), QStringLiteral("date")},
        {QStringLiteral("album artist"), QStringLiteral("albumartist")},
        {MetadataKey::comments, QStringLiteral("comment")},
        {QStringLiteral("tempo"), QStringLiteral("bpm")},
        {MetadataKey::trackNumber,
         QStringLiteral("tracknumber"),
         {QStringLiteral("tracktotal"), QStringLiteral("totaltracks")}},
        {MetadataKey::discNumber,
         QStringLiteral("discnumber"),
         {QStringLiteral("disctotal"), QStringLiteral("totaldiscs")}},
    };
    return list;
}

} // namespace

const Spelling* spellingOf(const QString& key)
{
    const auto found = std::ranges::find(spellings(), key, &Spelling::key);
    return found == spellings().end() ? nullptr : &*found;
}

QString keyOf(const QString& name)
{
    for (const Spelling& spelling : spellings()) {
        if (spelling.name == name || spelling.totals.contains(name))
            return spelling.key;
    }
    const bool isKnown =
        name != MetadataKey::attachedPictures && AudioMetadata::dictionaryKeys().contains(name);
    return isKnown ? name : QString();
}

bool isTotal(const QString& name)
{
    return std::ranges::any_of(spellings(),
                               [&](const Spelling& spelling) { return spelling.totals.contains(name); });
}

bool tellsOfTheFileItself(const QString& name)
{
    static const QStringList names = {QStringLiteral("encoder"), QStringLiteral("encoder_options"),
                                      QStringLiteral("vendor")};
    return names.contains(name);
}

} // namespace velloria::VorbisCommentNames
