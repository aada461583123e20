#pragma once

#include "formats/ledger/FileLedger.h"
#include "formats/tagediting/Id3Edit.h"

namespace velloria
{

/// The ID3v2 tag that a save writes: that of the opened file with what was changed since, or a new one where
/// there is none that can be edited.
class Id3Save
{
public:
    /// A new tag.
    explicit Id3Save(AudioMetadata now);
    /// A new tag that can hold chapters.
    Id3Save(AudioMetadata now, const Id3SoundChange& sound);
    /// `opened` is the tag of the opened file as takeInId3Tag() took it in, or nothing; `read` is the
    /// metadata of that file.
    Id3Save(QByteArray opened, AudioMetadata read, AudioMetadata now, const Id3SoundChange& sound);

    bool isEdit() const { return !mOpened.isEmpty(); }
    /// May be empty.
    QByteArray tag() const;
    /// The metadata as they come back from the written file, without the pictures. What nobody changed is
    /// where it was, in this tag or elsewhere.
    MetadataDictionary tagsReadBack() const;
    /// What id3DisplayLosses() says of this tag. `before` is what the opened file of the same type holds.
    QStringList displayLosses(const MetadataDictionary& before) const;
    bool canHold(const AttachedPicture& picture) const;
    /// For an item of the opened file that goes with a tag: whether it is still there.
    bool keeps(const FileItem& item) const;

private:
    int version() const;

    QByteArray mOpened;
    AudioMetadata mRead;
    AudioMetadata mNow;
    Id3SoundChange mSound;
};

} // namespace velloria
