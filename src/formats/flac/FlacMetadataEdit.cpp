#include "formats/flac/FlacMetadataEdit.h"

#include "formats/comments/PictureBlock.h"

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

bool isPadding(const Block& block)
{
    return block.type == FLAC__METADATA_TYPE_PADDING;
}

bool isPicture(const Block& block)
{
    return block.type == FLAC__METADATA_TYPE_PICTURE && PictureBlock::pictureOf(block.payload);
}

qsizetype sizeWithoutPadding(const Blocks& blocks)
{
    qsizetype size = 0;
    for (const Block& block : blocks)
        size += isPadding(block) ? 0 : FlacLayout::Block::headerLength + block.payload.size();
    return size;
}

} // namespace

Blocks blocksOf(const FileHandle& file, const FlacLayout& layout)
{
    Blocks blocks;
    for (size_t i = 1; i < layout.blocks.size(); ++i) {
        const FlacLayout::Block& block = layout.blocks[i];
        blocks.push_back({block.type, file.readAt(block.payload().offset, block.payload().length)});
        if (blocks.back().payload.size() == block.payload().length)
            continue;
        file.noteMissedRead();
        blocks.pop_back();
        break;
    }
    return blocks;
}

VorbisCommentPacket commentsOf(const Blocks& blocks)
{
    VorbisCommentPacket comments;
    bool isFirst = true;
    for (const Block& block : blocks) {
        if (!isComments(block))
            continue;
        const VorbisCommentPacket packet(block.payload);
        if (isFirst)
            comments = packet;
        else
            comments.setEntries(comments.entries() + packet.entries());
        isFirst = false;
    }
    return comments;
}

void setComments(Blocks& blocks, const VorbisCommentPacket& comments)
{
    const auto first = std::ranges::find_if(blocks, isComments);
    Block block = {FLAC__METADATA_TYPE_VORBIS_COMMENT, comments.bytes()};
    if (first == blocks.end()) {
        blocks.insert(blocks.begin(), std::move(block));
        return;
    }
    *first = std::move(block);
    // What further ones said stands in the first one now.
    blocks.erase(std::remove_if(std::next(first), blocks.end(), isComments), blocks.end());
}

QList<QByteArray> pictureBlocks(const Blocks& blocks)
{
    QList<QByteArray> pictures;
    for (const Block& block : blocks) {
        if (isComments(block))
            pictures += VorbisCommentPacket(block.payload).pictureBlocks();
        else if (isPicture(block))
            pictures.append(block.payload);
    }
    return pictures;
}

void setPictures(Blocks& blocks, const QList<AttachedPicture>& pictures)
{
    const auto changes = PictureBlock::changes(pictureBlocks(blocks), pictures);
    if (std::ranges::none_of(changes, [](const auto& change) { return change.has_value(); }))
        return;
    std::span<const std::optional<QByteArray>> left(changes);
    Blocks edited;
    size_t placeOfNew = 0;
    for (const Block& block : blocks) {
        edited.push_back(block);
        if (isComments(block)) {
            VorbisCommentPacket packet(block.payload);
            const auto count = static_cast<size_t>(packet.pictureBlocks().size());
            packet.changePictures(left.first(count));
            edited.back().payload = packet.bytes();
            left = left.subspan(count);
            placeOfNew = std::max(placeOfNew, edited.size());
        } else if (isPicture(block)) {
            const std::optional<QByteArray>& change = left.front();
            if (change)
                edited.back().payload = *change;
            if (change && change->isEmpty())
                edited.pop_back();
            left = left.subspan(1);
            placeOfNew = edited.size();
        }
    }
    for (const std::optional<QByteArray>& added : left) {
        const Block block = {FLAC__METADATA_TYPE_PICTURE, added.value_or(QByteArray())};
        edited.insert(edited.begin() + static_cast<std::ptrdiff_t>(placeOfNew++), block);
    }
    blocks = std::move(edited);
}

bool canHold(const AttachedPicture& picture)
{
    const QByteArray block = PictureBlock::blockOf(picture);
    return block.size() <= longestPayload && PictureBlock::pictureOf(block);
}

void settlePadding(Blocks& blocks, const Blocks& before)
{
    const qsizetype growth = sizeWithoutPadding(blocks) - sizeWithoutPadding(before);
    const auto padding = std::ranges::find_if(blocks, isPadding);
    if (growth == 0 || padding == blocks.end())
        return;
    const qsizetype size = padding->payload.size() - growth;
    if (size == -FlacLayout::Block::headerLength)
        blocks.erase(padding);
    else if (size >= 0 && size <= longestPayload)
        padding->payload.resize(size, '\0');
}

QByteArray bytesOf(const Blocks& blocks)
{
    QByteArray bytes;
    for (const Block& block : blocks)
        bytes += bytesOf(block, &block == &blocks.back());
    return bytes;
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

MaybeError refusal(const Blocks& blocks)
{
    const bool fit = std::ranges::all_of(
        blocks, [](const Block& block) { return block.payload.size() <= longestPayload; });
    return fit ? std::nullopt
               : MaybeError(Error{Error::Code::fileTooLarge,
                                  QStringLiteral("FLAC files hold at most 16 MB of tags.")});
}

} // namespace velloria::FlacMetadataEdit
