#include "formats/vorbis/VorbisLinks.h"

#include "formats/ogg/OggPages.h"

#include <algorithm>

namespace velloria
{

namespace
{

// Bytes that may stand in front of the first page: some other program's tag.
constexpr int64_t mostBytesInFront = int64_t{1} << 20;

bool beginsVorbis(const FileHandle& handle, const OggPageHead& page)
{
    constexpr QByteArrayView start("\x01vorbis");
    return page.isFirst && handle.readAt(page.bodyOffset, start.size()) == start;
}

/// Where the bytes end that go with the page at `offset`. A damaged page may claim those behind it.
int64_t endOfPage(const FileHandle& handle, int64_t offset, const OggPageHead& page)
{
    if (page.end >= handle.length() || oggPageAt(handle, page.end))
        return std::min(page.end, handle.length());
    return nextOggPage(handle, offset + 1, handle.length());
}

} // namespace

void VorbisLink::add(ByteRange bytes)
{
    if (!mPieces.empty() && mPieces.back().bytes.end() == bytes.offset)
        mPieces.back().bytes.length += bytes.length;
    else
        mPieces.push_back({length(), bytes});
}

int64_t VorbisLink::readAt(const FileHandle& handle, int64_t offset, std::span<std::byte> out) const
{
    const auto next = std::upper_bound(mPieces.begin(), mPieces.end(), offset,
                                       [](int64_t value, const Piece& each) { return value < each.start; });
    if (next == mPieces.begin() || offset >= length())
        return 0;
    const Piece& piece = *std::prev(next);
    const int64_t numLeft = piece.start + piece.bytes.length - offset;
    const auto count = static_cast<size_t>(std::min(numLeft, std::ssize(out)));
    return handle.readAt(piece.bytes.offset + offset - piece.start, out.first(count));
}

std::vector<VorbisLink> vorbisLinksOf(const FileHandle& handle)
{
    std::vector<VorbisLink> links;
    const int64_t mostRead = std::min(handle.length(), mostBytesInFront);
    int64_t offset = nextOggPage(handle, 0, mostRead);
    if (offset == mostRead)
        return links;
    // The first pages of all streams of one file stand together.
    bool isAmongFirst = false;
    bool hasVorbis = false;
    while (offset < handle.length()) {
        const auto page = oggPageAt(handle, offset);
        const int64_t end =
            page ? endOfPage(handle, offset, *page) : nextOggPage(handle, offset + 1, handle.length());
        if (page) {
            hasVorbis = hasVorbis && isAmongFirst && page->isFirst;
            isAmongFirst = page->isFirst;
        }
        if (page && !hasVorbis && beginsVorbis(handle, *page)) {
            hasVorbis = true;
            links.emplace_back(page->serialNumber);
        }
        // The first page of another stream under the same number is none of this one.
        const bool isOther =
            page && !links.empty() &&
            (page->serialNumber != links.back().serialNumber() || (page->isFirst && !hasVorbis));
        if (!links.empty() && !isOther)
            links.back().add({offset, end - offset});
        offset = end;
    }
    return links;
}

} // namespace velloria
