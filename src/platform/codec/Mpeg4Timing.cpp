#include "platform/codec/Mpeg4Timing.h"

#include "platform/FourCharCode.h"

#include <QList>
#include <QString>
#include <algorithm>
#include <vector>

namespace velloria
{

namespace
{

// An index of three days of sound is about this long.
constexpr int64_t kMaxMovieBoxBytes = int64_t{128} << 20;
constexpr int64_t kMaxTopLevelBoxes = 1 << 20;

/// The payload of one box, with big-endian reading by position; positions outside read as 0.
class Box
{
public:
    explicit Box(std::span<const uint8_t> bytes)
        : mBytes(bytes)
    {
    }

    uint64_t number(size_t at, size_t numBytes) const
    {
        if (at + numBytes > mBytes.size())
            return 0;
        uint64_t value = 0;
        for (size_t i = 0; i < numBytes; ++i)
            value = value << 8 | mBytes[at + i];
        return value;
    }
    uint32_t number32(size_t at) const { return static_cast<uint32_t>(number(at, 4)); }
    size_t size() const { return mBytes.size(); }
    uint8_t version() const { return mBytes.empty() ? 0 : mBytes[0]; }

    /// All children of a type, in order.
    std::vector<Box> children(FourCharCode type) const
    {
        std::vector<Box> found;
        for (size_t at = 0; at + 8 <= mBytes.size();) {
            const size_t size = number32(at) == 0 ? mBytes.size() - at : number32(at);
            if (size < 8 || size > mBytes.size() - at)
                break;
            if (number32(at + 4) == type)
                found.emplace_back(mBytes.subspan(at + 8, size - 8));
            at += size;
        }
        return found;
    }
    /// The first descendant along a path of types; an empty box when there is none.
    Box descendant(std::initializer_list<FourCharCode> path) const
    {
        Box box = *this;
        for (const FourCharCode type : path) {
            const std::vector<Box> all = box.children(type);
            if (all.empty())
                return Box({});
            box = all.front();
        }
        return box;
    }

private:
    std::span<const uint8_t> mBytes;
};

/// The payload of the file's 'moov' box.
QByteArray readMovieBox(const FileHandle& file)
{
    const int64_t length = file.length();
    int64_t offset = 0;
    for (int64_t i = 0; i < kMaxTopLevelBoxes && offset + 8 <= length; ++i) {
        const QByteArray bytes = file.readAt(offset, 16);
        const Box header(
            {reinterpret_cast<const uint8_t*>(bytes.constData()), static_cast<size_t>(bytes.size())});
        const bool isLong = header.number32(0) == 1;
        const int64_t headerSize = isLong ? 16 : 8;
        int64_t size = isLong ? static_cast<int64_t>(header.number(8, 8)) : header.number32(0);
        if (size == 0)
            size = length - offset;
        if (size < headerSize || size > length - offset)
            break;
        if (header.number32(4) == fourCharCode("moov"))
            return size <= kMaxMovieBoxBytes ? file.readAt(offset + headerSize, size - headerSize)
                                             : QByteArray();
        offset += size;
    }
    return {};
}

/// The time scale of an 'mvhd' or 'mdhd' box.
uint32_t timescaleOf(const Box& header)
{
    return header.number32(header.version() == 1 ? 20 : 12);
}

int64_t mediaDurationOf(const Box& durations)
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

void readEdits(const Box& edits, uint32_t movieTimescale, Mpeg4Timing& timing)
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
    const QByteArray bytes = readMovieBox(file);
    const Box movie({reinterpret_cast<const uint8_t*>(bytes.constData()), static_cast<size_t>(bytes.size())});
    for (const Box& track : movie.children(fourCharCode("trak"))) {
        const Box header = track.descendant({fourCharCode("tkhd")});
        if (header.number32(header.version() == 1 ? 20 : 12) != trackID)
            continue;
        Mpeg4Timing timing;
        timing.mediaTimescale = timescaleOf(track.descendant({fourCharCode("mdia"), fourCharCode("mdhd")}));
        timing.isFragmented = !movie.children(fourCharCode("mvex")).empty();
        if (timing.mediaTimescale == 0)
            return std::nullopt;
        timing.mediaDuration = mediaDurationOf(track.descendant(
            {fourCharCode("mdia"), fourCharCode("minf"), fourCharCode("stbl"), fourCharCode("stts")}));
        readEdits(track.descendant({fourCharCode("edts"), fourCharCode("elst")}),
                  timescaleOf(movie.descendant({fourCharCode("mvhd")})), timing);
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
