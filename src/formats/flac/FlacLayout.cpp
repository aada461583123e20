#include "formats/flac/FlacLayout.h"

#include "formats/tagediting/TagsAround.h"

#include <FLAC/format.h>

namespace velloria
{

namespace
{

// Layouts: https://www.rfc-editor.org/rfc/rfc9639
const QByteArray markerBytes = QByteArrayLiteral("fLaC");
constexpr int64_t streamInfoLength = 34;
constexpr uint8_t lastBlockFlag = 0x80;

uint8_t byteAt(const QByteArray& bytes, qsizetype offset)
{
    return static_cast<uint8_t>(bytes[offset]);
}

/// The blocks from `offset` on; true when the last one is there and ends within the file.
bool readBlocks(const FileHandle& handle, int64_t offset, std::vector<FlacLayout::Block>& blocks)
{
    for (bool isLast = false; !isLast;) {
        const QByteArray head = handle.readAt(offset, FlacLayout::Block::headerLength);
        if (head.size() < FlacLayout::Block::headerLength)
            return false;
        isLast = byteAt(head, 0) & lastBlockFlag;
        const int64_t size = byteAt(head, 1) << 16 | byteAt(head, 2) << 8 | byteAt(head, 3);
        blocks.push_back(
            {byteAt(head, 0) & ~lastBlockFlag, {offset, FlacLayout::Block::headerLength + size}});
        offset = blocks.back().bytes.end();
    }
    return offset <= handle.length();
}

} // namespace

FlacLayout FlacLayout::ofFile(const FileHandle& handle)
{
    FlacLayout layout;
    const auto tagsInFront = TagsAround::inFront(handle);
    int64_t offset = tagsInFront.empty() ? 0 : tagsInFront.back().bytes.end();
    if (handle.readAt(offset, markerBytes.size()) == markerBytes) {
        layout.marker = {offset, markerBytes.size()};
        layout.isWhole = readBlocks(handle, layout.marker.end(), layout.blocks);
        offset = layout.blocks.empty() ? layout.marker.end() : layout.blocks.back().bytes.end();
    }
    layout.isWhole = layout.isWhole && layout.blocks.front().type == FLAC__METADATA_TYPE_STREAMINFO &&
                     layout.blocks.front().payload().length == streamInfoLength;
    const auto tagsBehind = TagsAround::behind(handle, offset);
    const int64_t end = tagsBehind.empty() ? handle.length() : tagsBehind.back().bytes.offset;
    layout.sound = {offset, end - offset};
    return layout;
}

} // namespace velloria
