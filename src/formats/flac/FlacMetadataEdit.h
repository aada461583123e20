#pragma once

#include "document/clips/AudioMarker.h"
#include "formats/comments/VorbisCommentPacket.h"
#include "formats/flac/FlacLayout.h"
#include "formats/tags/AttachedPicture.h"
#include "platform/Error.h"

#include <QByteArray>

namespace velloria
{

/// The metadata of a FLAC file, all but the description of the sound, with other tags, pictures and chapters:
/// what nobody changed stays byte for byte and in its order.
namespace FlacMetadataEdit
{

struct Block {
    int type = 0;
    QByteArray payload;
};
using Blocks = std::vector<Block>;

/// Reads the blocks of a file that is whole, behind the first one; fewer, where it got shorter meanwhile.
Blocks blocksOf(const FileHandle& file, const FlacLayout& layout);

/// What all blocks of comments say; a file should have one of them.
VorbisCommentPacket commentsOf(const Blocks& blocks);

/// Puts comments in the place of the old ones; where there are none, in front of all else, as nearly every
/// program does.
void setComments(Blocks& blocks, const VorbisCommentPacket& comments);

/// The pictures that can be read, in blocks and comments, as payloads of blocks.
QList<QByteArray> pictureBlocks(const Blocks& blocks);

/// Changes these; new ones stand behind the last one, or behind the comments.
void setPictures(Blocks& blocks, const QList<AttachedPicture>& pictures);

/// False for a picture that no block has room for.
bool canHold(const AttachedPicture& picture);

/// Makes the room that is kept free for tags smaller or larger by what the other blocks gained or lost since
/// they were `before`; where it is too small it stays as it is.
void settlePadding(Blocks& blocks, const Blocks& before);

/// One behind the other, each with its header, the last one marked.
QByteArray bytesOf(const Blocks& blocks);
QByteArray bytesOf(const Block& block, bool isLast);

/// The error for a block that is longer than blocks can be; nothing when all fit.
MaybeError refusal(const Blocks& blocks);

} // namespace FlacMetadataEdit

} // namespace velloria
