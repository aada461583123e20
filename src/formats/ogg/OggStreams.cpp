#include "formats/ogg/OggStreams.h"

#include <QtEndian>
#include <algorithm>

namespace velloria::OggStreams
{

namespace
{

// Layout of a page: https://www.rfc-editor.org/rfc/rfc3533
constexpr qsizetype pageHeaderLength = 27;
constexpr qsizetype typeOffset = 5;
constexpr qsizetype serialNumberOffset = 14;
constexpr char firstPageFlag = 2;
constexpr char lastPageFlag = 4;
constexpr int64_t longestPage = int64_t{pageHeaderLength} + 255 + int64_t{255} * 255;
constexpr qsizetype firstBytesKept = 16;
// More than any file has, fewer than a damaged one could claim.
constexpr size_t mostStreams = 64;

bool isPage(const QByteArray& header)
{
    return header.size() >= pageHeaderLength && header.startsWith("OggS");
}

} // namespace

std::vector<Start> startsIn(const FileHandle& handle)
{
    std::vector<Start> starts;
    for (int64_t offset = 0; starts.size() < mostStreams;) {
        const QByteArray header = handle.readAt(offset, pageHeaderLength + 255);
        if (!isPage(header) || !(header[typeOffset] & firstPageFlag))
            break;
        const qsizetype numSegments = static_cast<uint8_t>(header[pageHeaderLength - 1]);
        const QByteArray sizes = header.mid(pageHeaderLength, numSegments);
        int64_t bodySize = 0;
        for (const char size : sizes)
            bodySize += static_cast<uint8_t>(size);
        const int64_t bodyOffset = offset + pageHeaderLength + numSegments;
        starts.push_back({qFromLittleEndian<quint32>(header.constData() + serialNumberOffset),
                          handle.readAt(bodyOffset, std::min<int64_t>(bodySize, firstBytesKept))});
        offset = bodyOffset + bodySize;
    }
    return starts;
}

std::optional<Start> startWith(const std::vector<Start>& starts, const QByteArray& firstBytes)
{
    const auto found = std::find_if(starts.begin(), starts.end(), [&](const Start& start) {
        return start.firstBytes.startsWith(firstBytes);
    });
    return found == starts.end() ? std::nullopt : std::optional(*found);
}

bool isComplete(const FileHandle& handle)
{
    const int64_t length = std::min<int64_t>(handle.length(), longestPage + pageHeaderLength);
    const QByteArray tail = handle.readAt(handle.length() - length, length);
    const qsizetype page = tail.lastIndexOf("OggS");
    return page >= 0 && page + typeOffset < tail.size() && (tail[page + typeOffset] & lastPageFlag);
}

} // namespace velloria::OggStreams
