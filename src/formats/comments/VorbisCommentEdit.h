#pragma once

#include "formats/tags/MetadataDictionary.h"

#include <QByteArray>
#include <QList>

namespace velloria
{

/// Vorbis comments of a file with other tags: an entry whose value nobody changed stays as it is, unknown
/// ones included, and so do order, spelling and repeated keys.
namespace VorbisCommentEdit
{

/// The tags that the model takes from entries, pictures left aside.
MetadataDictionary tagsOf(const QList<QByteArray>& entries);

/// The entries that say `tags`, the dictionary of a model. A changed value stands where the old one stood, in
/// every spelling that is there; where a key had several entries, a text is cut at "; " and dealt out to
/// them. New values are appended as VorbisComments::entriesOf() gives them, and a value that is gone takes
/// its entries with it.
QList<QByteArray> withTags(QList<QByteArray> entries, const MetadataDictionary& tags);

} // namespace VorbisCommentEdit

} // namespace velloria
