#include "formats/mpeg4/Mpeg4Layout.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr size_t kMostBoxes = 1 << 20;
constexpr size_t kMostTracks = 1000;
// Chunks and runs of all tracks together: a day of film with a chunk a frame.
constexpr size_t kMostRuns = size_t{1} << 22;
// Of a track fragment: more than a minute of samples of 44100 Hz.
constexpr int64_t kMostFragmentBytes = int64_t{32} << 20;
constexpr int64_t kMostMovieBytes = int64_t{256} << 20;
constexpr int64_t kFar = int64_t{1} << 61;

/// What 'tfhd' and 'trex' boxes say of samples that do not say it themselves.
struct SampleDefaults {
    uint32_t duration = 0;
    uint32_t size = 0;
};

SampleDefaults defaultsOf(const Mpeg4Box& movie, uint32_t trackID)
{
    for (const Mpeg4Box& each : movie.descendant({fourCharCode("mvex")}).children(fourCharCode("trex"))) {
        if (each.number32(4) == trackID)
            return {each.number32(12), each.number32(16)};
    }
    return {};
}

int64_t product(int64_t count, uint32_t each)
{
    return each > 0 && count > kFar / each ? kFar : count * each;
}

/// Of a 'trun' box; `offset` is where its samples are.
Mpeg4Run runOf(const Mpeg4Box& box, int64_t offset, const SampleDefaults& defaults)
{
    const uint32_t flags = box.number32(0) & 0xFFFFFF;
    const size_t first = 8 + (flags & 0x1 ? 4U : 0U) + (flags & 0x4 ? 4U : 0U);
    const size_t entrySize = 4 * static_cast<size_t>(__builtin_popcount(flags & 0xF00));
    const bool hasDuration = (flags & 0x100) != 0;
    const bool hasSize = (flags & 0x200) != 0;
    Mpeg4Run run{{offset, 0}, box.number32(4), 0};
    if (entrySize > 0) {
        const size_t room = box.size() > first ? (box.size() - first) / entrySize : 0;
        run.numSamples = std::min(run.numSamples, static_cast<int64_t>(room));
    }
    if (!hasDuration)
        run.duration = product(run.numSamples, defaults.duration);
    if (!hasSize)
        run.bytes.length = product(run.numSamples, defaults.size);
    for (int64_t i = 0; i < run.numSamples && (hasDuration || hasSize); ++i) {
        const size_t at = first + entrySize * static_cast<size_t>(i);
        if (hasDuration)
            run.duration += box.number32(at);
        if (hasSize)
            run.bytes.length += box.number32(at + (hasDuration ? 4 : 0));
    }
    return run;
}

/// Whether the samples are somewhere else than in this file.
bool isExternal(const Mpeg4Box& track)
{
    const Mpeg4Box information = track.descendant({fourCharCode("mdia"), fourCharCode("minf")});
    const Mpeg4Box references = information.descendant({fourCharCode("dinf"), fourCharCode("dref")});
    constexpr size_t countBytes = 8;
    if (references.size() <= countBytes)
        return false;
    const Mpeg4Box entries(references.bytes().subspan(countBytes));
    const std::vector<Mpeg4Box::Child> all = entries.allChildren();
    return std::any_of(all.begin(), all.end(), [&](const Mpeg4Box::Child& each) {
        return (entries.payloadOf(each).number32(0) & 1) == 0;
    });
}

} // namespace

Mpeg4Layout::Mpeg4Layout(const FileHandle& file)
    : fileLength(file.length())
{
    readBoxes(file);
    readMovie(file);
    for (const OuterBox& box : boxes) {
        if (box.type == fourCharCode("moof"))
            readFragment(file, box);
    }
}

const Mpeg4Track* Mpeg4Layout::track(uint32_t id) const
{
    const auto found =
        std::find_if(tracks.begin(), tracks.end(), [id](const Mpeg4Track& each) { return each.id == id; });
    return found == tracks.end() ? nullptr : &*found;
}

std::vector<ByteRange> Mpeg4Layout::payloads(FourCharCode type) const
{
    std::vector<ByteRange> all;
    for (const OuterBox& box : boxes) {
        if (box.type == type)
            all.push_back(box.payload());
    }
    return all;
}

void Mpeg4Layout::readBoxes(const FileHandle& file)
{
    constexpr int64_t headerBytes = 8;
    constexpr int64_t longHeaderBytes = 16;
    while (endOfBoxes + headerBytes <= fileLength && boxes.size() < kMostBoxes) {
        const QByteArray bytes = file.readAt(endOfBoxes, longHeaderBytes);
        const Mpeg4Box header(bytes);
        const bool isLong = header.number32(0) == 1;
        OuterBox box{header.number32(4), {endOfBoxes, header.number32(0)}, headerBytes};
        if (isLong) {
            box.headerSize = longHeaderBytes;
            box.bytes.length = static_cast<int64_t>(std::min(header.number(8, 8), uint64_t{kFar}));
        }
        const int64_t room = fileLength - endOfBoxes;
        // Sound that goes on to the end of the file, or beyond it where the file was cut.
        const bool isCut = box.type == fourCharCode("mdat") && box.bytes.length > room;
        if (box.bytes.length == 0 || isCut)
            box.bytes.length = room;
        if (box.bytes.length < box.headerSize || box.bytes.length > room)
            return;
        boxes.push_back(box);
        endOfBoxes += box.bytes.length;
    }
}

void Mpeg4Layout::readMovie(const FileHandle& file)
{
    const auto found = std::find_if(boxes.begin(), boxes.end(),
                                    [](const OuterBox& box) { return box.type == fourCharCode("moov"); });
    isComplete = found != boxes.end() && found->bytes.length <= kMostMovieBytes;
    if (!isComplete)
        return;
    movieOffset = found->payload().offset;
    movieBytes = file.readAt(movieOffset, found->payload().length);
    size_t numRuns = 0;
    for (const Mpeg4Box::Child& child : movie().allChildren()) {
        if (child.type != fourCharCode("trak"))
            continue;
        Mpeg4Track track;
        track.box = movie().payloadOf(child);
        track.bytes = {movieOffset + static_cast<int64_t>(child.at), static_cast<int64_t>(child.size)};
        track.id = mpeg4TrackID(track.box);
        track.handler = track.box.descendant({fourCharCode("mdia"), fourCharCode("hdlr")}).number32(8);
        track.timescale = mpeg4Timescale(track.box.descendant({fourCharCode("mdia"), fourCharCode("mdhd")}));
        track.isExternal = isExternal(track.box);
        track.runs = Mpeg4SampleTable(track.box).chunks();
        track.numChunks = track.runs.size();
        numRuns += track.numChunks;
        const Mpeg4Box auxiliary = track.box.descendant(
            {fourCharCode("mdia"), fourCharCode("minf"), fourCharCode("stbl"), fourCharCode("saio")});
        isComplete = isComplete && numRuns <= kMostRuns && tracks.size() < kMostTracks && auxiliary.isEmpty();
        if (!isComplete)
            return;
        tracks.push_back(std::move(track));
    }
}

void Mpeg4Layout::readFragment(const FileHandle& file, const OuterBox& box)
{
    isComplete = isComplete && box.bytes.length <= kMostFragmentBytes;
    if (!isComplete)
        return;
    const QByteArray bytes = file.readAt(box.payload().offset, box.payload().length);
    Mpeg4Fragment fragment{box.bytes.offset, {}};
    int64_t end = fragment.offset;
    for (const Mpeg4Box& each : Mpeg4Box(bytes).children(fourCharCode("traf"))) {
        fragment.tracks.push_back(readTrackFragment(each, fragment.offset, end));
        const Mpeg4TrackFragment& read = fragment.tracks.back();
        const auto owner = std::find_if(tracks.begin(), tracks.end(),
                                        [&](const Mpeg4Track& track) { return track.id == read.trackID; });
        if (owner != tracks.end())
            owner->runs.insert(owner->runs.end(), read.runs.begin(), read.runs.end());
        isComplete = isComplete && owner != tracks.end() && owner->runs.size() <= kMostRuns &&
                     each.children(fourCharCode("saio")).empty();
    }
    fragments.push_back(std::move(fragment));
}

/// `end` is where the samples of the track before end, and of this one afterwards (ISO/IEC 14496-12, 8.8.7).
Mpeg4TrackFragment Mpeg4Layout::readTrackFragment(const Mpeg4Box& box, int64_t fragmentOffset,
                                                  int64_t& end) const
{
    const Mpeg4Box header = box.descendant({fourCharCode("tfhd")});
    const uint32_t flags = header.number32(0) & 0xFFFFFF;
    Mpeg4TrackFragment fragment{header.number32(4), {}, std::nullopt};
    SampleDefaults defaults = defaultsOf(movie(), fragment.trackID);
    size_t at = 8;
    int64_t base = flags & 0x20000 ? fragmentOffset : end;
    if (flags & 0x1) {
        base = static_cast<int64_t>(std::min(header.number(at, 8), uint64_t{kFar}));
        at += 8;
    }
    at += flags & 0x2 ? 4 : 0;
    if (flags & 0x8) {
        defaults.duration = header.number32(at);
        at += 4;
    }
    if (flags & 0x10)
        defaults.size = header.number32(at);
    const Mpeg4Box time = box.descendant({fourCharCode("tfdt")});
    if (!time.isEmpty())
        fragment.time = static_cast<int64_t>(
            std::min(time.version() == 1 ? time.number(4, 8) : time.number(4, 4), uint64_t{kFar}));
    end = base;
    for (const Mpeg4Box& each : box.children(fourCharCode("trun"))) {
        const bool hasOffset = (each.number32(0) & 0x1) != 0;
        fragment.runs.push_back(
            runOf(each, hasOffset ? base + static_cast<int32_t>(each.number32(8)) : end, defaults));
        end = std::min(kFar, fragment.runs.back().bytes.end());
    }
    return fragment;
}

} // namespace velloria
