#pragma once

#include "formats/tags/AudioMetadata.h"
#include "platform/FileHandle.h"
#include "platform/codec/Mpeg4Box.h"

#include <QByteArray>
#include <vector>

namespace velloria
{

/// Tags in the list that iTunes made common in MPEG-4 files ('ilst').
namespace Mpeg4Tags
{

/// Replaces every tag of `metadata` by those of a file.
void read(const FileHandle& file, AudioMetadata& metadata);

/// A value that is not written as it was read.
struct AlteredValue {
    /// The key of the metadata that it is read as.
    QString key;
    /// For a person: “0/12” becomes “12”.
    QString description;
    /// The metadata has nothing of it, so nobody who replaces the value has seen it.
    bool isHidden = false;
};
/// Of a file that `metadata` was read from.
std::vector<AlteredValue> alteredValues(const FileHandle& file, const AudioMetadata& metadata);

/// The tags as read() finds them in a file that is written of `metadata`, without the pictures.
MetadataDictionary tagsThrough(const AudioMetadata& metadata);

/// The key of the metadata that an item of the list is read as; empty for one that the metadata has no room
/// for. `payload` tells what a free-form item is called.
QString keyOfItem(FourCharCode item, const Mpeg4Box& payload);
/// The name of a free-form item ("----"), by its payload.
QString freeFormName(const Mpeg4Box& item);

/// An item of a list with its place in it.
struct Item {
    Mpeg4Box::Child child;
    /// As keyOfItem() gives it.
    QString key;
    /// The first of its key that has a value which can be read. No other is in the metadata.
    bool isRead = false;
};
/// All items of an 'ilst' box, in order.
std::vector<Item> itemsOfList(const Mpeg4Box& list);

/// Whether two boxes are one and the same place in memory.
inline bool isSame(const Mpeg4Box& a, const Mpeg4Box& b)
{
    return a.bytes().data() == b.bytes().data() && a.size() == b.size();
}

/// Whether the items of a 'meta' box are known by four characters, as ours are, and not by numbers into a
/// list of keys, as QuickTime's.
bool hasNamedItems(const Mpeg4Box& meta);

/// The user data that a movie's tags are in, or belong in: of several the first with a list of named items,
/// else with any list, else the first with a 'meta' box, else the first. An empty box when there is none.
Mpeg4Box userDataOf(const Mpeg4Box& movie);
/// The 'meta' box that a movie's tags are in; an empty box when there is none.
Mpeg4Box metaOf(const Mpeg4Box& movie);
/// The boxes within a 'meta' box, which has version and flags before them, except in QuickTime movies.
Mpeg4Box boxesOfMeta(const Mpeg4Box& meta);
/// The list of items within a 'meta' box.
Mpeg4Box itemsOfMeta(const Mpeg4Box& meta);

/// The 'meta' box of tags and of the text (if any) that tells players where the sound begins and ends.
QByteArray box(const AudioMetadata& metadata, const QByteArray& gaplessText);

} // namespace Mpeg4Tags

} // namespace velloria
