#include "formats/ogg/OggPages.h"

#include <QtEndian>
#include <algorithm>

namespace velloria
{

namespace
{

constexpr qsizetype pageHeaderLength = 27;
constexpr qsizetype typeOffset = 5;
constexpr char firstPageFlag = 2;
constexpr qsizetype serialNumberOffset = 14;
constexpr qsizetype mostSegments = 255;
constexpr int64_t shortestWindow = int64_t{1} << 10;
constexpr int64_t longestWindow = int64_t{1} << 16;

} // namespace

std::optional<OggPageHead> oggPageAt(const FileHandle& handle, int64_t offset)
{
    const QByteArray header = handle.readAt(offset, pageHeaderLength + mostSegments);
    // The byte behind the name is the version, of which there is one.
    if (header.size() < pageHeaderLength || !header.startsWith("OggS") || header[4] != 0)
        return std::nullopt;
    const qsizetype numSegments = static_cast<uint8_t>(header[pageHeaderLength - 1]);
    OggPageHead page;
    page.serialNumber = qFromLittleEndian<quint32>(header.constData() + serialNumberOffset);
    page.isFirst = (header[typeOffset] & firstPageFlag) != 0;
    page.bodyOffset = offset + pageHeaderLength + numSegments;
    page.end = page.bodyOffset;
    for (const char size : header.mid(pageHeaderLength, numSegments))
        page.end += static_cast<uint8_t>(size);
    return page;
}

int64_t nextOggPage(const FileHandle& handle, int64_t offset, int64_t end)
{
    constexpr int64_t overlap = 3;
    // Small at first, since a damaged file can hold the name every few bytes.
    int64_t window = shortestWindow;
    while (offset < end) {
        const qsizetype found = handle.readAt(offset, std::min(window, end - offset)).indexOf("OggS");
        if (found >= 0)
            return offset + found;
        offset += window - overlap;
        window = std::min(4 * window, longestWindow);
    }
    return end;
}

} // namespace velloria
