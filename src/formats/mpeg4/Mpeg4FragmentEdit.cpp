#include "formats/mpeg4/Mpeg4FragmentEdit.h"

#include "formats/streams/BigEndianOutputStream.h"

#include <QtEndian>
#include <algorithm>
#include <limits>

namespace velloria::Mpeg4FragmentEdit
{

namespace
{

using Child = Mpeg4Box::Child;
using Changed = std::optional<QByteArray>;

constexpr uint32_t kHasBase = 0x1;
constexpr uint32_t kHasDescription = 0x2;
constexpr uint32_t kHasDuration = 0x8;
constexpr uint32_t kHasSize = 0x10;
constexpr uint32_t kHasFlags = 0x20;
constexpr uint32_t kIsEmpty = 0x10000;
constexpr uint32_t kBaseIsFragment = 0x20000;

/// A 'tfhd' box whose base is the fragment's own start. Only the first track's is that without saying so.
QByteArray headerFrom(const Mpeg4Box& old, bool isFirst, int64_t offset, bool isSound)
{
    uint32_t flags = old.number32(0) & 0xFFFFFF;
    size_t at = 8 + (flags & kHasBase ? 8U : 0U);
    const bool needsBase = (flags & kBaseIsFragment) == 0 && (!isFirst || (flags & kHasBase) != 0);
    flags = needsBase ? flags | kHasBase : flags & ~kHasBase;
    BigEndianOutputStream rest;
    if (isSound) {
        if (flags & kHasDescription)
            rest.writeUInt32(old.number32(at));
        // Every packet can be begun with; durations and sizes are told for each.
        constexpr uint32_t dependsOnNoOther = 0x2000000;
        flags = (flags & ~(kHasDuration | kHasSize | kIsEmpty)) | kHasFlags;
        rest.writeUInt32(dependsOnNoOther);
        at = old.size();
    }
    BigEndianOutputStream out;
    out.writeUInt32(old.number32(0) >> 24 << 24 | flags);
    out.writeUInt32(old.number32(4));
    if (needsBase)
        out.writeSInt64(offset);
    return mpeg4Box(fourCharCode("tfhd"), out.data() + rest.data() + old.copy(at, old.size()));
}

/// A 'trun' box of another track with its samples `dataOffset` bytes behind the base.
QByteArray runFrom(const Mpeg4Box& old, int32_t dataOffset)
{
    const bool hadOffset = (old.number32(0) & 1) != 0;
    BigEndianOutputStream out;
    out.writeUInt32(old.number32(0) | 1);
    out.writeUInt32(old.number32(4));
    out.writeSInt32(dataOffset);
    return mpeg4Box(fourCharCode("trun"), out.data() + old.copy(hadOffset ? 12 : 8, old.size()));
}

bool fits32(int64_t value)
{
    return value >= std::numeric_limits<int32_t>::min() && value <= std::numeric_limits<int32_t>::max();
}

/// Makes a track's part of a fragment anew.
struct TrackFragment {
    const Mpeg4TrackFragment& runs;
    bool isFirst;
    int64_t offset;
    const Mpeg4Moves& moves;
    bool isTooFar = false;

    QByteArray ofOther(const Mpeg4Box& old);
    QByteArray ofSound(const Mpeg4Box& old, const SoundPlace& sound, size_t firstPart);

private:
    int32_t distance(int64_t place)
    {
        isTooFar = isTooFar || !fits32(place - offset);
        return static_cast<int32_t>(place - offset);
    }
};

QByteArray TrackFragment::ofOther(const Mpeg4Box& old)
{
    size_t index = 0;
    return mpeg4PayloadWith(old, [&](const Child& child, const Mpeg4Box& payload) -> Changed {
        if (child.type == fourCharCode("tfhd"))
            return headerFrom(payload, isFirst, offset, false);
        if (child.type != fourCharCode("trun"))
            return std::nullopt;
        const Mpeg4Run& run = runs.runs[index++];
        return runFrom(payload, distance(moves.run(run).value_or(offset)));
    });
}

QByteArray TrackFragment::ofSound(const Mpeg4Box& old, const SoundPlace& sound, size_t firstPart)
{
    // What belongs to the old samples one by one.
    constexpr std::array perSample = {fourCharCode("sbgp"), fourCharCode("sgpd"), fourCharCode("saiz"),
                                      fourCharCode("subs"), fourCharCode("sdtp")};
    size_t part = firstPart;
    return mpeg4PayloadWith(old, [&](const Child& child, const Mpeg4Box& payload) -> Changed {
        if (child.type == fourCharCode("tfhd"))
            return headerFrom(payload, isFirst, offset, true);
        if (child.type == fourCharCode("tfdt"))
            return runs.runs.empty() ? Changed() : sound.track->fragmentTime(firstPart);
        if (child.type == fourCharCode("trun")) {
            const size_t index = part++;
            return sound.track->fragmentRun(index, distance(moves.part(index)));
        }
        const bool isStale = std::find(perSample.begin(), perSample.end(), child.type) != perSample.end();
        return isStale ? Changed(QByteArray()) : std::nullopt;
    });
}

/// Entries of a 'tfra' box with the fragments' new places; empty when a place is not known.
QByteArray entriesMoved(const Mpeg4Box& old, const Mpeg4Moves& moves)
{
    const size_t width = old.version() == 1 ? 8 : 4;
    const uint32_t lengths = old.number32(8);
    const size_t tail = 3 + (lengths >> 4 & 3) + (lengths >> 2 & 3) + (lengths & 3);
    constexpr size_t first = 16;
    QByteArray bytes = old.copy(0, old.size());
    const size_t count = Mpeg4SampleTable::numEntries(old, 12, 2 * width + tail);
    for (size_t i = 0; i < count; ++i) {
        const size_t at = first + (2 * width + tail) * i + width;
        const auto place = moves.box(static_cast<int64_t>(old.number(at, width)));
        if (!place || (width == 4 && *place > std::numeric_limits<uint32_t>::max()))
            return {};
        if (width == 8)
            qToBigEndian(static_cast<uint64_t>(*place), bytes.data() + at);
        else
            qToBigEndian(static_cast<uint32_t>(*place), bytes.data() + at);
    }
    return mpeg4Box(fourCharCode("tfra"), bytes);
}

/// The 'tfra' box of new sound, in the wide form; empty where a fragment's place is not known.
QByteArray entriesOfSound(const Mpeg4Box& old, std::span<const SoundEntry> entries, const Mpeg4Moves& moves)
{
    constexpr uint32_t isWide = 1U << 24;
    // Four bytes for the number of the track, one each for those of the run and of the packet.
    constexpr uint32_t lengths = 3U << 4;
    BigEndianOutputStream out;
    out.writeUInt32(isWide);
    out.writeUInt32(old.number32(4));
    out.writeUInt32(lengths);
    out.writeUInt32(static_cast<uint32_t>(entries.size()));
    for (const SoundEntry& entry : entries) {
        const auto place = moves.box(entry.fragmentOffset);
        if (!place)
            return {};
        out.writeSInt64(entry.time);
        out.writeSInt64(*place);
        out.writeUInt32(entry.trackNumber);
        out.writeUInt8(1);
        out.writeUInt8(1);
    }
    return mpeg4Box(fourCharCode("tfra"), out.data());
}

} // namespace

std::optional<QByteArray> fragment(const Mpeg4Box& old, const Mpeg4Fragment& runs, const SoundPlace& sound,
                                   int64_t offset, const Mpeg4Moves& moves)
{
    size_t index = 0;
    size_t part = sound.firstPart;
    bool isTooFar = false;
    const QByteArray payload =
        mpeg4PayloadWith(old, [&](const Child& child, const Mpeg4Box& each) -> Changed {
            if (child.type != fourCharCode("traf") || index >= runs.tracks.size())
                return std::nullopt;
            TrackFragment track{runs.tracks[index], index == 0, offset, moves};
            ++index;
            QByteArray bytes;
            if (sound.track && track.runs.trackID == sound.trackID) {
                bytes = track.ofSound(each, sound, part);
                part += track.runs.runs.size();
            } else {
                bytes = track.ofOther(each);
            }
            isTooFar = isTooFar || track.isTooFar;
            return mpeg4Box(fourCharCode("traf"), bytes);
        });
    return isTooFar ? std::nullopt : std::optional(mpeg4Box(fourCharCode("moof"), payload));
}

std::optional<QByteArray> segmentIndex(const Mpeg4Box& old, int64_t oldEnd, int64_t end,
                                       const Mpeg4Moves& moves)
{
    const size_t width = old.version() == 0 ? 4 : 8;
    const size_t firstOffsetAt = 12 + width;
    constexpr size_t entrySize = 12;
    const size_t countAt = firstOffsetAt + width + 2;
    const size_t count = std::min<size_t>(old.number(countAt, 2), old.size() / entrySize);
    QByteArray bytes = old.copy(0, old.size());
    int64_t oldPlace = oldEnd + static_cast<int64_t>(old.number(firstOffsetAt, width) & INT64_MAX);
    std::optional<int64_t> place = moves.box(oldPlace);
    if (!place || countAt + 2 + entrySize * count > old.size())
        return std::nullopt;
    if (width == 8)
        qToBigEndian(static_cast<uint64_t>(*place - end), bytes.data() + firstOffsetAt);
    else
        qToBigEndian(static_cast<uint32_t>(*place - end), bytes.data() + firstOffsetAt);
    for (size_t i = 0; i < count; ++i) {
        const size_t at = countAt + 2 + entrySize * i;
        constexpr uint32_t kindBit = 0x80000000;
        oldPlace += old.number32(at) & ~kindBit;
        const std::optional<int64_t> next = moves.box(oldPlace);
        if (!next || *next - *place >= int64_t{kindBit})
            return std::nullopt;
        qToBigEndian((old.number32(at) & kindBit) | static_cast<uint32_t>(*next - *place), bytes.data() + at);
        place = next;
    }
    return mpeg4Box(fourCharCode("sidx"), bytes);
}

QByteArray randomAccess(const Mpeg4Box& old, uint32_t soundTrackID, std::span<const SoundEntry> entries,
                        const Mpeg4Moves& moves)
{
    QByteArray payload = mpeg4PayloadWith(old, [&](const Child& child, const Mpeg4Box& each) -> Changed {
        if (child.type != fourCharCode("tfra"))
            return std::nullopt;
        return each.number32(4) == soundTrackID ? entriesOfSound(each, entries, moves)
                                                : entriesMoved(each, moves);
    });
    // The last box says how long the whole is, so that it can be found from the end.
    if (payload.size() >= 4)
        qToBigEndian(static_cast<uint32_t>(payload.size() + mpeg4BoxHeaderBytes),
                     payload.data() + payload.size() - 4);
    return mpeg4Box(fourCharCode("mfra"), payload);
}

} // namespace velloria::Mpeg4FragmentEdit
