#pragma once

#include "formats/ogg/OggHeaders.h"
#include "formats/tags/VorbisCommentPacket.h"

namespace velloria
{

/// The three packets in front of Vorbis sound: what it is, comments, code books.
namespace VorbisHeaders
{

/// Nothing where a file does not begin with these.
std::optional<OggHeaders> ofFile(const FileHandle& handle);

VorbisCommentPacket commentsOf(const OggHeaders& headers);

/// The packets with other tags.
QList<QByteArray> withTags(const OggHeaders& headers, const QList<VorbisComments::Entry>& tags,
                           bool keepsPictures);

} // namespace VorbisHeaders

} // namespace velloria
