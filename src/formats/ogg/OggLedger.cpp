#include "formats/ogg/OggLedger.h"

#include "formats/ogg/OggPages.h"

#include <algorithm>
#include <array>
#include <map>

namespace velloria
{

namespace
{

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
        const auto page = oggPageAt(handle, offset);
        if (!page) {
            const int64_t next = nextOggPage(handle, offset + 1, handle.length());
            ledger.addWithSound(QStringLiteral("%1 bytes between the pages").arg(next - offset),
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
            ledger.addWithSound(QStringLiteral("a cut page (%1 bytes)").arg(end - offset),
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

bool holdsOneOggStream(const FileLedger& ledger)
{
    return std::ranges::none_of(ledger.items(),
                                [](const FileItem& item) { return item.kind == ItemKind::stream; });
}

} // namespace velloria
