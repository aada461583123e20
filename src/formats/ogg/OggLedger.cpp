#include "formats/ogg/OggLedger.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <map>
#include <optional>

namespace velloria
{

namespace
{

// Layout of a page: https://www.rfc-editor.org/rfc/rfc3533
constexpr qsizetype pageHeaderLength = 27;
constexpr qsizetype typeOffset = 5;
constexpr char firstPageFlag = 2;
constexpr qsizetype serialNumberOffset = 14;
constexpr qsizetype mostSegments = 255;
constexpr int64_t windowLength = int64_t{1} << 16;

struct Page {
    uint32_t serialNumber = 0;
    /// Of its stream.
    bool isFirst = false;
    int64_t bodyOffset = 0;
    int64_t end = 0;
};

std::optional<Page> pageAt(const FileHandle& handle, int64_t offset)
{
    const QByteArray header = handle.readAt(offset, pageHeaderLength + mostSegments);
    // The byte behind the name is the version, of which there is one.
    if (header.size() < pageHeaderLength || !header.startsWith("OggS") || header[4] != 0)
        return std::nullopt;
    const qsizetype numSegments = static_cast<uint8_t>(header[pageHeaderLength - 1]);
    Page page;
    page.serialNumber = qFromLittleEndian<quint32>(header.constData() + serialNumberOffset);
    page.isFirst = (header[typeOffset] & firstPageFlag) != 0;
    page.bodyOffset = offset + pageHeaderLength + numSegments;
    page.end = page.bodyOffset;
    for (const char size : header.mid(pageHeaderLength, numSegments))
        page.end += static_cast<uint8_t>(size);
    return page;
}

/// Where the next page may begin, or the end of the file.
int64_t nextPage(const FileHandle& handle, int64_t offset)
{
    constexpr int64_t overlap = 3;
    for (; offset < handle.length(); offset += windowLength - overlap) {
        const qsizetype found = handle.readAt(offset, windowLength).indexOf("OggS");
        if (found >= 0)
            return offset + found;
    }
    return handle.length();
}

QString nameOfStream(const QByteArray& firstBytes)
{
    constexpr std::array<std::pair<QByteArrayView, const char*>, 9> codecs = {{
        {"\x01vorbis", "Vorbis sound"},
        {"\x7F"
         "FLAC",
         "FLAC sound"},
        {"OpusHead", "Opus sound"},
        {"Speex", "Speex sound"},
        {"\x80theora", "Theora picture"},
        {"\x01video", "picture"},
        {"BBCD", "Dirac picture"},
        {"\x80kate", "Kate text"},
        {"fishead", "Skeleton index"},
    }};
    for (const auto& [start, name] : codecs) {
        if (firstBytes.startsWith(start))
            return QLatin1String(name);
    }
    return QStringLiteral("stream of an unknown kind");
}

/// `endOfFirst` is null where all files that stand one behind the other are read.
FileLedger ledgerOf(const FileHandle& handle, const std::set<uint32_t>& serialNumbersRead,
                    int64_t* endOfFirst)
{
    constexpr int64_t firstBytesRead = 16;
    FileLedger ledger;
    std::map<std::pair<bool, uint32_t>, QString> otherStreams;
    bool hasStarted = false;
    bool isBehind = false;
    for (int64_t offset = 0; offset < handle.length();) {
        const auto page = pageAt(handle, offset);
        if (!page) {
            const int64_t next = nextPage(handle, offset + 1);
            ledger.addNotKept(ItemKind::part, QStringLiteral("%1 bytes between the pages").arg(next - offset),
                              {offset, next - offset});
            offset = next;
            continue;
        }
        const int64_t end = std::min(page->end, handle.length());
        // The first pages of all streams of a file stand together.
        if (endOfFirst && page->isFirst && hasStarted && !isBehind) {
            isBehind = true;
            *endOfFirst = offset;
        }
        hasStarted = hasStarted || !page->isFirst;
        const bool isRead = !isBehind && serialNumbersRead.contains(page->serialNumber);
        const std::pair stream(isBehind, page->serialNumber);
        if (!isRead && !otherStreams.contains(stream))
            otherStreams[stream] = nameOfStream(
                handle.readAt(page->bodyOffset, std::min(firstBytesRead, end - page->bodyOffset)));
        if (end < page->end)
            ledger.addNotKept(ItemKind::part, QStringLiteral("a cut page (%1 bytes)").arg(end - offset),
                              {offset, end - offset});
        else
            ledger.addInModel({offset, end - offset});
        offset = page->end;
    }
    for (const auto& [stream, name] : otherStreams)
        ledger.addNotKept(ItemKind::stream, name);
    return ledger;
}

} // namespace

FileLedger oggLedger(const FileHandle& handle, const std::set<uint32_t>& serialNumbersRead)
{
    return ledgerOf(handle, serialNumbersRead, nullptr);
}

FileLedger oggLedgerOfFirst(const FileHandle& handle, const std::set<uint32_t>& serialNumbersRead,
                            int64_t* endOfFirst)
{
    *endOfFirst = 0;
    return ledgerOf(handle, serialNumbersRead, endOfFirst);
}

} // namespace velloria
