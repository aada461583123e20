#pragma once

#include "formats/ogg/OggHeaders.h"
#include "formats/tags/VorbisCommentPacket.h"

namespace velloria
{

/// The packets in front of FLAC sound in Ogg: the description, then the metadata blocks, comments first.
namespace FlacInOgg
{

/// Nothing where a file does not begin with these.
std::optional<OggHeaders> headersOf(const FileHandle& handle);

/// The packets with other tags; pictures are left out where they are not wanted. Nothing when the tags are
/// too long for a block.
std::optional<QList<QByteArray>> withTags(const OggHeaders& headers, const QList<VorbisComments::Entry>& tags,
                                          bool keepsPictures);

/// Pictures in blocks and comments.
int64_t numPictures(const OggHeaders& headers);

} // namespace FlacInOgg

} // namespace velloria
