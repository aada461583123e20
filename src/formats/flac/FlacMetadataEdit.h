#pragma once

#include "formats/flac/FlacLayout.h"
#include "formats/tags/VorbisComments.h"
#include "platform/Error.h"

#include <QByteArray>

namespace velloria
{

/// The metadata of a FLAC file with other tags: description, seek table, cue sheet, data of applications and
/// padding stay as they are and in their order.
namespace FlacMetadataEdit
{

struct Block {
    int type = 0;
    QByteArray payload;
};

/// Reads the blocks of a file that is whole; fewer, where it got shorter meanwhile.
std::vector<Block> blocksOf(const FileHandle& file, const FlacLayout& layout);

/// Puts other comments, said to be of the same encoder, in the place of the old ones, or at `index` where
/// there are none. Pictures are left out where they are not wanted. False when the comments are too long.
bool setTags(std::vector<Block>& blocks, size_t index, const QList<VorbisComments::Entry>& tags,
             bool keepsPictures);

/// With its header.
QByteArray bytesOf(const Block& block, bool isLast);

/// Pictures in whatever form.
int64_t numPictures(const std::vector<Block>& blocks);

Error tagsTooLong();

} // namespace FlacMetadataEdit

} // namespace velloria
