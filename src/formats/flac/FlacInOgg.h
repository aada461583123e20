#pragma once

#include "formats/flac/FlacMetadataEdit.h"
#include "formats/ogg/OggHeaders.h"

namespace velloria
{

/// The packets in front of FLAC sound in Ogg: the description, then the metadata blocks, comments first.
namespace FlacInOgg
{

/// Nothing where a file does not begin with these.
std::optional<OggHeaders> headersOf(const FileHandle& handle);

/// The metadata behind the description of the sound.
FlacMetadataEdit::Blocks blocksOf(const OggHeaders& headers);

/// The packets with other metadata.
QList<QByteArray> packetsWith(const OggHeaders& headers, const FlacMetadataEdit::Blocks& blocks);

/// The packet that tells of the sound and how many packets of metadata follow.
QByteArray firstPacket(const QByteArray& streamInfo, size_t numBlocks);

} // namespace FlacInOgg

} // namespace velloria
