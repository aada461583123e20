#pragma once

#include "formats/comments/VorbisCommentPacket.h"
#include "formats/ogg/OggHeaders.h"

namespace velloria
{

/// The three packets in front of Vorbis sound: what it is, comments, code books.
namespace VorbisHeaders
{

/// Nothing where a file does not begin with these.
std::optional<OggHeaders> ofFile(const FileHandle& handle);

/// Of the second packet.
VorbisCommentPacket commentsOf(const QByteArray& packet);

/// The packet of comments, with its name.
QByteArray packetOf(const VorbisCommentPacket& comments);

} // namespace VorbisHeaders

} // namespace velloria
