#include "formats/flac/FlacMetadataEdit.h"

#include "formats/tags/VorbisCommentPacket.h"

#include <FLAC/format.h>
#include <algorithm>

namespace velloria::FlacMetadataEdit
{

namespace
{

constexpr qsizetype longestPayload = 0xFFFFFF;
constexpr int lastBlockFlag = 0x80;

bool isComments(const Block& block)
{
    return block.type == FLAC__METADATA_TYPE_VORBIS_COMMENT;
}

bool isPicture(const Block& block)
{
    return block.type == FLAC__METADATA_TYPE_PICTURE;
}

} // namespace

std::vector<Block> blocksOf(const FileHandle& file, const FlacLayout& layout)
{
    std::vector<Block> blocks;
    for (const FlacLayout::Block& block : layout.blocks) {
        blocks.push_back({block.type, file.readAt(block.payload().offset, block.payload().length)});
        if (blocks.back().payload.size() == block.payload().length)
            continue;
        file.noteMissedRead();
        blocks.pop_back();
        break;
    }
    return blocks;
}

bool setTags(std::vector<Block>& blocks, size_t index, const QList<VorbisComments::Entry>& tags,
             bool keepsPictures)
{
    const auto old = std::ranges::find_if(blocks, isComments);
    const bool hadComments = old != blocks.end();
    if (hadComments)
        index = static_cast<size_t>(old - blocks.begin());
    const VorbisCommentPacket packet(hadComments ? old->payload : QByteArray());
    Block comments = {FLAC__METADATA_TYPE_VORBIS_COMMENT, packet.withTags(tags, keepsPictures)};
    if (comments.payload.size() > longestPayload)
        return false;
    // A file should have one block of them; what others say nobody read.
    std::erase_if(blocks, isComments);
    if (hadComments || !tags.isEmpty())
        blocks.insert(blocks.begin() + static_cast<std::ptrdiff_t>(std::min(index, blocks.size())),
                      std::move(comments));
    if (!keepsPictures)
        std::erase_if(blocks, isPicture);
    return true;
}

QByteArray bytesOf(const Block& block, bool isLast)
{
    const auto size = static_cast<uint32_t>(block.payload.size());
    QByteArray bytes;
    bytes += static_cast<char>(isLast ? block.type | lastBlockFlag : block.type);
    bytes += static_cast<char>(size >> 16);
    bytes += static_cast<char>(size >> 8);
    bytes += static_cast<char>(size);
    return bytes + block.payload;
}

int64_t numPictures(const std::vector<Block>& blocks)
{
    int64_t count = std::ranges::count_if(blocks, isPicture);
    for (const Block& block : blocks) {
        if (isComments(block))
            count += VorbisCommentPacket(block.payload).numPictures();
    }
    return count;
}

Error tagsTooLong()
{
    return {Error::Code::fileTooLarge, QStringLiteral("FLAC files hold at most 16 MB of tags.")};
}

} // namespace velloria::FlacMetadataEdit
