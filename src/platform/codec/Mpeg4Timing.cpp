#include "platform/codec/Mpeg4Timing.h"

#include "platform/codec/Mpeg4Box.h"

#include <QList>
#include <QString>
#include <algorithm>

namespace velloria
{

namespace
{

int64_t mediaDurationOf(const Mpeg4Box& durations)
{
    const uint64_t numEntries = std::min<uint64_t>(durations.number32(4), durations.size() / 8);
    int64_t total = 0;
    for (uint64_t i = 0; i < numEntries; ++i) {
        int64_t run = 0;
        if (__builtin_mul_overflow(durations.number32(8 + 8 * i), durations.number32(12 + 8 * i), &run) ||
            __builtin_add_overflow(total, run, &total))
            return 0;
    }
    return total;
}

/// A length in units of one scale in those of another, rounded to the nearest; 0 for one that is out of
/// sense.
int64_t rescaled(uint64_t length, uint32_t from, uint32_t to)
{
    uint64_t scaled = 0;
    if (length > uint64_t{INT64_MAX} / 2 || __builtin_mul_overflow(length, uint64_t{to}, &scaled))
        return 0;
    return static_cast<int64_t>(scaled / from + (scaled % from >= (from + 1) / 2 ? 1 : 0));
}

void readEdits(const Mpeg4Box& edits, uint32_t movieTimescale, Mpeg4Timing& timing)
{
    const size_t wide = edits.version() == 1 ? 8 : 4;
    const size_t entrySize = 2 * wide + 4;
    const uint64_t numEntries = std::min<uint64_t>(edits.number32(4), edits.size() / entrySize);
    for (uint64_t i = 0; i < numEntries; ++i) {
        const size_t at = 8 + entrySize * i;
        const uint64_t start = edits.number(at + wide, wide);
        const bool isEmpty = start >> (8 * wide - 1) != 0;
        if (isEmpty)
            continue;
        timing.editStart = static_cast<int64_t>(start);
        // A second edit that plays something means that the sound goes on elsewhere: play to the end then.
        timing.editDuration = i + 1 == numEntries && movieTimescale > 0
                                  ? rescaled(edits.number(at, wide), movieTimescale, timing.mediaTimescale)
                                  : 0;
        timing.editTick = movieTimescale > 0 ? timing.mediaTimescale / movieTimescale : 0;
        return;
    }
}

} // namespace

std::optional<Mpeg4Timing> readMpeg4Timing(const FileHandle& file, uint32_t trackID)
{
    const QByteArray bytes = readMpeg4Movie(file);
    const Mpeg4Box movie(bytes);
    for (const Mpeg4Box& track : movie.children(fourCharCode("trak"))) {
        if (mpeg4TrackID(track) != trackID)
            continue;
        Mpeg4Timing timing;
        timing.mediaTimescale =
            mpeg4Timescale(track.descendant({fourCharCode("mdia"), fourCharCode("mdhd")}));
        timing.isFragmented = !movie.children(fourCharCode("mvex")).empty();
        if (timing.mediaTimescale == 0)
            return std::nullopt;
        timing.mediaDuration = mediaDurationOf(track.descendant(
            {fourCharCode("mdia"), fourCharCode("minf"), fourCharCode("stbl"), fourCharCode("stts")}));
        readEdits(track.descendant({fourCharCode("edts"), fourCharCode("elst")}),
                  mpeg4Timescale(movie.descendant({fourCharCode("mvhd")})), timing);
        return timing;
    }
    return std::nullopt;
}

std::optional<PacketTable> parseGaplessTag(const QByteArray& text)
{
    const QList<QByteArray> words = text.simplified().split(' ');
    if (words.size() < 4)
        return std::nullopt;
    bool isPriming = false;
    bool isRemainder = false;
    bool isCount = false;
    PacketTable table;
    table.primingFrames = words[1].toLongLong(&isPriming, 16);
    table.remainderFrames = words[2].toLongLong(&isRemainder, 16);
    table.numberOfValidFrames = words[3].toLongLong(&isCount, 16);
    constexpr int64_t maxPriming = 16384;
    const bool isSane = isPriming && isRemainder && isCount && table.primingFrames >= 0 &&
                        table.primingFrames <= maxPriming && table.numberOfValidFrames > 0;
    return isSane ? std::optional(table) : std::nullopt;
}

QByteArray gaplessTag(const PacketTable& table)
{
    QString text = QStringLiteral(" 00000000 %1 %2 %3")
                       .arg(table.primingFrames, 8, 16, QLatin1Char('0'))
                       .arg(table.remainderFrames, 8, 16, QLatin1Char('0'))
                       .arg(table.numberOfValidFrames, 16, 16, QLatin1Char('0'));
    for (int i = 0; i < 8; ++i)
        text += QStringLiteral(" 00000000");
    return text.toUpper().toLatin1();
}

} // namespace velloria
