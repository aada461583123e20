#pragma once

#include "formats/tagediting/TagsAround.h"
#include "formats/tags/AudioMetadata.h"

#include <QByteArray>

namespace velloria
{

/// Tags beside the ID3v2 tag that a file is read by are kept in step with it: what differs between the
/// metadata as they were read and as they are now takes the place of what such a tag tells of it, even where
/// that was something else. Nothing is added that it does not tell, and all else stays byte for byte. So does
/// a tag that is damaged.
namespace OtherTagEdits
{

/// A tag of any kind but ID3v2, which stays as it is. May become empty.
QByteArray edited(TagsAround::Tag::Kind kind, const QByteArray& tag, const AudioMetadata& read,
                  const AudioMetadata& now);

/// ID3v1, whose fields hold 30 letters of Latin-1, and the enhanced form with its block in front.
QByteArray editedId3v1(QByteArray tag, const AudioMetadata& read, const AudioMetadata& now);
QByteArray editedApe(const QByteArray& tag, const AudioMetadata& read, const AudioMetadata& now);
QByteArray editedLyrics3(const QByteArray& tag, const AudioMetadata& read, const AudioMetadata& now);

} // namespace OtherTagEdits

} // namespace velloria
