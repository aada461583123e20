#include "formats/mpeg4/Mpeg4SoundTrack.h"

#include "formats/streams/BigEndianOutputStream.h"

#include <QtEndian>
#include <algorithm>
#include <cmath>
#include <limits>

namespace velloria
{

namespace
{

constexpr int64_t kLongest32 = std::numeric_limits<uint32_t>::max();
constexpr uint32_t kNormalRate = 0x10000;

struct Edit {
    uint64_t duration = 0;
    /// In the media; nothing for a pause.
    std::optional<int64_t> start;
    uint32_t rate = kNormalRate;
};

std::vector<Edit> editsOf(const Mpeg4Box& track)
{
    const Mpeg4Box list = track.descendant({fourCharCode("edts"), fourCharCode("elst")});
    const size_t width = list.version() == 1 ? 8 : 4;
    std::vector<Edit> edits(Mpeg4SampleTable::numEntries(list, 4, 2 * width + 4));
    for (size_t i = 0; i < edits.size(); ++i) {
        const size_t at = 8 + (2 * width + 4) * i;
        const uint64_t start = list.number(at + width, width);
        const bool isPause = start >> (8 * width - 1) != 0;
        edits[i].duration = list.number(at, width);
        if (!isPause)
            edits[i].start = static_cast<int64_t>(start);
        edits[i].rate = list.number32(at + 2 * width);
    }
    return edits;
}

int64_t rescaled(int64_t value, double from, double to)
{
    return from > 0.0 ? std::llround(static_cast<double>(value) * (to / from)) : value;
}

/// 32 bits each, unless one does not fit.
QByteArray editList(const std::vector<Edit>& edits)
{
    const bool isWide = std::any_of(edits.begin(), edits.end(), [](const Edit& edit) {
        return edit.duration > uint64_t{kLongest32} ||
               edit.start.value_or(0) > std::numeric_limits<int32_t>::max();
    });
    BigEndianOutputStream out;
    out.writeUInt32(isWide ? 1U << 24 : 0);
    out.writeUInt32(static_cast<uint32_t>(edits.size()));
    for (const Edit& edit : edits) {
        if (isWide) {
            out.writeSInt64(static_cast<int64_t>(edit.duration));
            out.writeSInt64(edit.start.value_or(-1));
        } else {
            out.writeUInt32(static_cast<uint32_t>(edit.duration));
            out.writeSInt32(static_cast<int32_t>(edit.start.value_or(-1)));
        }
        out.writeUInt32(edit.rate);
    }
    return mpeg4Box(fourCharCode("edts"), mpeg4Box(fourCharCode("elst"), out.data()));
}

Mpeg4Box tablesOf(const Mpeg4Box& track)
{
    return track.descendant({fourCharCode("mdia"), fourCharCode("minf"), fourCharCode("stbl")});
}

} // namespace

int64_t Mpeg4SoundTrack::leastPrimingFrames(const Mpeg4Track& old, const Mpeg4OpenedSound& opened,
                                            double sampleRate)
{
    std::optional<int64_t> first;
    for (const Edit& edit : editsOf(old.box)) {
        if (edit.start)
            first = std::min(*edit.start, first.value_or(*edit.start));
    }
    const int64_t start = rescaled(first.value_or(0), old.timescale, sampleRate);
    return std::max<int64_t>(0, rescaled(opened.primingFrames, opened.sampleRate, sampleRate) - start);
}

Mpeg4SoundTrack::Mpeg4SoundTrack(const FileHandle& sound, const Mpeg4Track& old,
                                 const Mpeg4OpenedSound& opened, const PacketTable& table)
    : mOld(old)
    , mPrimingFrames(table.primingFrames)
{
    readPackets(sound, table);
    if (mPackets.empty())
        return;
    mOldPriming = rescaled(opened.primingFrames, opened.sampleRate, mTimescale);
    dealOut();
}

void Mpeg4SoundTrack::setLength(int64_t numFrames, uint32_t movieTimescale)
{
    // Rounded up: players stop at the end of the edit, and behind the last frame there is nothing to hear.
    mLength = static_cast<int64_t>(
        std::ceil(static_cast<double>(numFrames) * movieTimescale / std::max(1U, mTimescale)));
}

QByteArray Mpeg4SoundTrack::withDuration(const Mpeg4Box& header, qsizetype place, qsizetype widePlace,
                                         int64_t duration)
{
    const bool isWide = header.version() == 1;
    BigEndianOutputStream out;
    if (isWide)
        out.writeSInt64(duration);
    else
        out.writeUInt32(static_cast<uint32_t>(std::clamp<int64_t>(duration, 0, kLongest32)));
    QByteArray payload = header.copy(0, header.size());
    const qsizetype at = isWide ? widePlace : place;
    return payload.size() < at + out.data().size() ? payload
                                                   : payload.replace(at, out.data().size(), out.data());
}

bool Mpeg4SoundTrack::canHaveLength(const Mpeg4Track& old)
{
    const std::vector<Edit> edits = editsOf(old.box);
    return edits.size() < 2 && std::ranges::all_of(edits, [](const Edit& edit) {
               return edit.start.has_value() && edit.rate == kNormalRate;
           });
}

void Mpeg4SoundTrack::setFirstTime(int64_t time)
{
    mFirstTime = rescaled(time, mOld.timescale, mTimescale);
}

void Mpeg4SoundTrack::readPackets(const FileHandle& sound, const PacketTable& table)
{
    const Mpeg4Layout layout(sound);
    if (layout.tracks.size() != 1)
        return;
    const Mpeg4Track& track = layout.tracks.front();
    mTimescale = track.timescale;
    const auto samples = Mpeg4SampleTable(track.box).samples(std::numeric_limits<size_t>::max());
    const int64_t numFrames = table.primingFrames + table.numberOfValidFrames;
    const int64_t framesPerPacket =
        samples.size() > 1 ? std::max<int64_t>(1, samples[1].time - samples[0].time) : numFrames;
    // Packets behind the last frame would be silence that lasts; the last one is as long as its frames.
    int64_t time = 0;
    for (size_t i = 0; i < samples.size(); ++i) {
        const Mpeg4SampleTable::Sample& sample = samples[i];
        if (time >= numFrames)
            break;
        const bool isInOrder = mPackets.empty() || sample.bytes.offset == mFirstOffset;
        if (!isInOrder)
            return mPackets.clear();
        const int64_t told = i + 1 < samples.size() ? samples[i + 1].time - sample.time : framesPerPacket;
        const int64_t duration = std::min(std::max<int64_t>(1, told), numFrames - time);
        mPackets.push_back({static_cast<uint32_t>(sample.bytes.length), static_cast<uint32_t>(duration)});
        time += duration;
        mFirstOffset = sample.bytes.end();
    }
    mFirstOffset = samples.empty() ? 0 : samples.front().bytes.offset;
    const Mpeg4Box tables = tablesOf(track.box);
    for (const Mpeg4Box::Child& child : tables.allChildren()) {
        const bool isGroup = child.type == fourCharCode("sgpd") || child.type == fourCharCode("sbgp");
        if (child.type == fourCharCode("stsd"))
            mDescription = tables.wholeOf(child);
        else if (isGroup && mPackets.size() == samples.size())
            mGroups += tables.wholeOf(child);
    }
}

/// A packet goes to the run that is heard when it is; those after the end go to the last run.
void Mpeg4SoundTrack::dealOut()
{
    const double scale = mOld.timescale > 0 ? static_cast<double>(mTimescale) / mOld.timescale : 1.0;
    int64_t oldEnd = 0;
    int64_t start = 0;
    size_t packet = 0;
    int64_t offset = mFirstOffset;
    for (size_t i = 0; i < mOld.runs.size(); ++i) {
        oldEnd += mOld.runs[i].duration;
        const bool isLast = i + 1 == mOld.runs.size();
        // In frames of the new media.
        const int64_t end = std::llround(static_cast<double>(oldEnd) * scale) - mOldPriming + mPrimingFrames;
        Part part{packet, 0, {offset, 0}, start};
        for (; packet < mPackets.size() && (isLast || start < end); ++packet) {
            start += mPackets[packet].duration;
            part.bytes.length += mPackets[packet].size;
        }
        part.numPackets = packet - part.firstPacket;
        offset = part.bytes.end();
        mParts.push_back(part);
    }
}

QByteArray Mpeg4SoundTrack::edits() const
{
    std::vector<Edit> edits = editsOf(mOld.box);
    if (edits.empty()) {
        const Mpeg4Box header = mOld.box.descendant({fourCharCode("tkhd")});
        edits.push_back(
            {header.version() == 1 ? header.number(28, 8) : header.number(20, 4), 0, kNormalRate});
        if (mLength ? mPrimingFrames == 0 : mPrimingFrames == mOldPriming)
            return {};
    }
    for (Edit& edit : edits) {
        if (mLength)
            edit = {static_cast<uint64_t>(*mLength), mPrimingFrames, kNormalRate};
        else if (edit.start)
            edit.start = std::max<int64_t>(0, rescaled(*edit.start, mOld.timescale, mTimescale) -
                                                  mOldPriming + mPrimingFrames);
    }
    return editList(edits);
}

/// The 'tkhd' box.
QByteArray Mpeg4SoundTrack::header(const Mpeg4Box& old) const
{
    return mpeg4Box(fourCharCode("tkhd"),
                    mLength ? withDuration(old, 20, 28, *mLength) : old.copy(0, old.size()));
}

QByteArray Mpeg4SoundTrack::box(std::span<const int64_t> offsets, bool isWide) const
{
    const bool hasEdits = !mOld.box.children(fourCharCode("edts")).empty();
    const QByteArray payload = mpeg4PayloadWith(
        mOld.box, [&](const Mpeg4Box::Child& child, const Mpeg4Box& old) -> std::optional<QByteArray> {
            if (child.type == fourCharCode("tkhd"))
                return header(old) + (hasEdits ? QByteArray() : edits());
            if (child.type == fourCharCode("edts"))
                return edits();
            if (child.type == fourCharCode("mdia"))
                return media(old, offsets, isWide);
            return std::nullopt;
        });
    return mpeg4Box(fourCharCode("trak"), payload);
}

QByteArray Mpeg4SoundTrack::media(const Mpeg4Box& old, std::span<const int64_t> offsets, bool isWide) const
{
    const auto information = [&](const Mpeg4Box::Child& child, const Mpeg4Box&) -> std::optional<QByteArray> {
        return child.type == fourCharCode("stbl") ? std::optional(sampleTable(offsets, isWide))
                                                  : std::nullopt;
    };
    const QByteArray payload = mpeg4PayloadWith(
        old, [&](const Mpeg4Box::Child& child, const Mpeg4Box& each) -> std::optional<QByteArray> {
            if (child.type == fourCharCode("mdhd"))
                return mediaHeader(each);
            if (child.type == fourCharCode("minf"))
                return mpeg4Box(fourCharCode("minf"), mpeg4PayloadWith(each, information));
            return std::nullopt;
        });
    return mpeg4Box(fourCharCode("mdia"), payload);
}

/// Dates and language as they are; the clock is the sample rate.
QByteArray Mpeg4SoundTrack::mediaHeader(const Mpeg4Box& old) const
{
    const bool wasWide = old.version() == 1;
    const size_t width = wasWide ? 8 : 4;
    const size_t numPackets = numChunkPackets();
    int64_t duration = 0;
    for (size_t i = 0; i < numPackets; ++i)
        duration += mPackets[i].duration;
    const bool isWide = wasWide || duration > kLongest32;
    BigEndianOutputStream out;
    const auto writeTime = [&](uint64_t time) {
        if (isWide)
            out.writeSInt64(static_cast<int64_t>(time));
        else
            out.writeUInt32(static_cast<uint32_t>(time));
    };
    out.writeUInt32((isWide ? 1U << 24 : 0U) | (old.number32(0) & 0xFFFFFF));
    writeTime(old.number(4, width));
    writeTime(old.number(4 + width, width));
    out.writeUInt32(mTimescale);
    writeTime(static_cast<uint64_t>(duration));
    const size_t rest = 8 + 3 * width;
    return mpeg4Box(fourCharCode("mdhd"), out.data() + old.copy(rest, old.size()));
}

size_t Mpeg4SoundTrack::numChunkPackets() const
{
    size_t count = 0;
    for (size_t i = 0; i < mOld.numChunks; ++i)
        count += mParts[i].numPackets;
    return count;
}

QByteArray Mpeg4SoundTrack::sampleTable(std::span<const int64_t> offsets, bool isWide) const
{
    const size_t count = numChunkPackets();
    std::vector<std::pair<uint32_t, uint32_t>> runs;
    // Packets of one size have no table. A single packet of one frame must have none: readers take a sound
    // whose packets all last one frame for plain samples, whose size stands there.
    const uint32_t size = count > 0 ? mPackets.front().size : 0;
    const bool hasOneSize =
        size > 0 && std::all_of(mPackets.begin(), mPackets.begin() + static_cast<std::ptrdiff_t>(count),
                                [size](const auto& packet) { return packet.size == size; });
    BigEndianOutputStream sizes;
    sizes.writeUInt32(0);
    sizes.writeUInt32(hasOneSize ? size : 0);
    sizes.writeUInt32(static_cast<uint32_t>(count));
    for (size_t i = 0; i < count; ++i) {
        if (runs.empty() || runs.back().second != mPackets[i].duration)
            runs.emplace_back(0, mPackets[i].duration);
        ++runs.back().first;
        if (!hasOneSize)
            sizes.writeUInt32(mPackets[i].size);
    }
    BigEndianOutputStream times;
    times.writeUInt32(0);
    times.writeUInt32(static_cast<uint32_t>(runs.size()));
    for (const auto& [number, duration] : runs) {
        times.writeUInt32(number);
        times.writeUInt32(duration);
    }
    return mpeg4Box(fourCharCode("stbl"), mDescription + mpeg4Box(fourCharCode("stts"), times.data()) +
                                              mpeg4Box(fourCharCode("stsz"), sizes.data()) +
                                              chunkTables(offsets, isWide) +
                                              (count == mPackets.size() ? mGroups : QByteArray()));
}

/// Parts without packets are no chunks.
QByteArray Mpeg4SoundTrack::chunkTables(std::span<const int64_t> offsets, bool isWide) const
{
    BigEndianOutputStream runs;
    BigEndianOutputStream places;
    uint32_t numChunks = 0;
    uint32_t numRuns = 0;
    size_t inChunkBefore = 0;
    for (size_t i = 0; i < offsets.size(); ++i) {
        const size_t inChunk = mParts[i].numPackets;
        if (inChunk == 0)
            continue;
        ++numChunks;
        if (inChunk != inChunkBefore) {
            runs.writeUInt32(numChunks);
            runs.writeUInt32(static_cast<uint32_t>(inChunk));
            runs.writeUInt32(1);
            ++numRuns;
        }
        inChunkBefore = inChunk;
        if (isWide)
            places.writeSInt64(offsets[i]);
        else
            places.writeUInt32(static_cast<uint32_t>(offsets[i]));
    }
    const auto table = [](FourCharCode type, uint32_t count, const QByteArray& entries) {
        BigEndianOutputStream head;
        head.writeUInt32(0);
        head.writeUInt32(count);
        return mpeg4Box(type, head.data() + entries);
    };
    return table(fourCharCode("stsc"), numRuns, runs.data()) +
           table(isWide ? fourCharCode("co64") : fourCharCode("stco"), numChunks, places.data());
}

QByteArray Mpeg4SoundTrack::fragmentTime(size_t part) const
{
    BigEndianOutputStream out;
    out.writeUInt32(1U << 24);
    out.writeSInt64(timeOf(part));
    return mpeg4Box(fourCharCode("tfdt"), out.data());
}

QByteArray Mpeg4SoundTrack::fragmentRun(size_t part, int32_t dataOffset) const
{
    const Part& run = mParts[part];
    if (run.numPackets == 0)
        return {};
    BigEndianOutputStream out;
    out.writeUInt32(0x301); // data offset, durations, sizes
    out.writeUInt32(static_cast<uint32_t>(run.numPackets));
    out.writeSInt32(dataOffset);
    for (size_t i = 0; i < run.numPackets; ++i) {
        out.writeUInt32(mPackets[run.firstPacket + i].duration);
        out.writeUInt32(mPackets[run.firstPacket + i].size);
    }
    return mpeg4Box(fourCharCode("trun"), out.data());
}

} // namespace velloria
