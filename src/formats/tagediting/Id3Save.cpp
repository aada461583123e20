#include "formats/tagediting/Id3Save.h"

#include "formats/tags/Id3Writer.h"
#include "formats/tags/ValueChanges.h"

#include <algorithm>

namespace velloria
{

Id3Save::Id3Save(AudioMetadata now)
    : mNow(std::move(now))
{
}

/// Version 2.3 is the first one with chapters, and the one that most programs read.
Id3Save::Id3Save(AudioMetadata now, const Id3SoundChange& sound)
    : Id3Save(QByteArray("ID3\3\0\0\0\0\0\x0A", id3HeaderLength) + QByteArray(id3HeaderLength, '\0'), {},
              std::move(now), sound)
{
}

Id3Save::Id3Save(QByteArray opened, AudioMetadata read, AudioMetadata now, const Id3SoundChange& sound)
    : mOpened(std::move(opened))
    , mRead(std::move(read))
    , mNow(std::move(now))
    , mSound(sound)
{
}

QByteArray Id3Save::tag() const
{
    auto edit = isEdit() ? Id3Edit::ofTag(mOpened) : std::nullopt;
    return edit ? edit->edited(mRead, mNow, mSound) : mNow.id3Data();
}

/// 2, 3 or 4.
int Id3Save::version() const
{
    return isEdit() ? mOpened[3] : 2;
}

MetadataDictionary Id3Save::tagsReadBack() const
{
    Id3Save withoutPictures = *this;
    withoutPictures.mNow.setArtwork(isEdit() ? mRead.artwork() : QList<AttachedPicture>());
    AudioMetadata found;
    found.setValuesWithID3Data(withoutPictures.tag());
    found.setArtwork({});
    MetadataDictionary tags = found.dictionary();
    if (!isEdit())
        return tags;
    const MetadataDictionary now = withoutPictures.mNow.dictionary();
    const QMap<QString, QString> changes = ValueChanges::changedTexts(mRead, mNow);
    for (auto value = now.begin(); value != now.end(); ++value) {
        if (value.key() != MetadataKey::attachedPictures && !changes.contains(value.key()))
            tags.insert(value.key(), *value);
    }
    return tags;
}

/// The texts of an edited tag are as every program expects them; versions later than 2.2 name every format of
/// a picture.
QStringList Id3Save::displayLosses(const MetadataDictionary& before) const
{
    const MetadataDictionary now = mNow.dictionary();
    if (!isEdit())
        return id3DisplayLosses(now, before);
    if (version() != 2 || mNow.artwork() == mRead.artwork())
        return {};
    MetadataDictionary pictures;
    pictures.insert(MetadataKey::attachedPictures, now.value(MetadataKey::attachedPictures));
    return id3DisplayLosses(pictures, {});
}

bool Id3Save::canHold(const AttachedPicture& picture) const
{
    return Id3FrameMaker::canHold(picture, version());
}

/// Frames that told the same otherwise, and did not count, give way to a new value with the one that did.
bool Id3Save::keeps(const FileItem& item) const
{
    if (item.kind != ItemKind::tag)
        return true;
    const QStringList keys = ValueChanges::changedTexts(mRead, mNow).keys();
    return std::none_of(keys.begin(), keys.end(), [&item](const QString& key) {
        const Id3Frame* const frame = id3FrameForKey(key, 2);
        const bool isComment = frame && frame->kind == Id3FrameKind::comment;
        return !isComment && item.name.startsWith(key + QStringLiteral(" “"));
    });
}

} // namespace velloria
