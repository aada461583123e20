#include "formats/mpeg4/Mpeg4Chapters.h"
#include "formats/streams/MacRoman.h"

#include <QStringDecoder>
#include <algorithm>
#include <cmath>

namespace velloria::Mpeg4Chapters
{

namespace
{

constexpr size_t kMaxChapters = 1 << 16;
constexpr double kLastFrame = 1e15;

/// Where the samples of a track lie in the file, and when.
struct TextSample {
    int64_t offset = 0;
    uint32_t size = 0;
    int64_t time = 0;
};

struct SampleTable {
    explicit SampleTable(const Mpeg4Box& track)
        : box(track.descendant({fourCharCode("mdia"), fourCharCode("minf"), fourCharCode("stbl")}))
    {
    }

    /// How many entries of a size a box holds behind its count.
    static size_t numEntries(const Mpeg4Box& table, size_t countAt, size_t entrySize)
    {
        const size_t room = table.size() > countAt + 4 ? (table.size() - countAt - 4) / entrySize : 0;
        return std::min<size_t>(table.number32(countAt), room);
    }

    std::vector<uint32_t> sizes() const
    {
        const Mpeg4Box table = box.descendant({fourCharCode("stsz")});
        if (const uint32_t equalSize = table.number32(4))
            return std::vector<uint32_t>(std::min<size_t>(table.number32(8), kMaxChapters), equalSize);
        std::vector<uint32_t> all(std::min(numEntries(table, 8, 4), kMaxChapters));
        for (size_t i = 0; i < all.size(); ++i)
            all[i] = table.number32(12 + 4 * i);
        return all;
    }

    std::vector<int64_t> chunkOffsets() const
    {
        Mpeg4Box table = box.descendant({fourCharCode("stco")});
        const size_t width = table.isEmpty() ? 8 : 4;
        if (table.isEmpty())
            table = box.descendant({fourCharCode("co64")});
        std::vector<int64_t> all(std::min(numEntries(table, 4, width), kMaxChapters));
        for (size_t i = 0; i < all.size(); ++i)
            all[i] = static_cast<int64_t>(table.number(8 + width * i, width));
        return all;
    }

    /// Samples in a chunk, by the chunk's number from 0.
    std::vector<uint32_t> samplesPerChunk(size_t numChunks) const
    {
        const Mpeg4Box table = box.descendant({fourCharCode("stsc")});
        const size_t count = numEntries(table, 4, 12);
        std::vector<uint32_t> all(numChunks, 1);
        size_t entry = 0;
        for (size_t chunk = 0; chunk < numChunks && count > 0; ++chunk) {
            while (entry + 1 < count && table.number32(8 + 12 * (entry + 1)) <= chunk + 1)
                ++entry;
            all[chunk] = table.number32(12 + 12 * entry);
        }
        return all;
    }

    std::vector<uint32_t> durations(size_t numSamples) const
    {
        const Mpeg4Box table = box.descendant({fourCharCode("stts")});
        std::vector<uint32_t> all;
        for (size_t i = 0; i < numEntries(table, 4, 8) && all.size() < numSamples; ++i) {
            const size_t count = std::min<size_t>(table.number32(8 + 8 * i), numSamples - all.size());
            all.insert(all.end(), count, table.number32(12 + 8 * i));
        }
        all.resize(numSamples, 0);
        return all;
    }

    std::vector<TextSample> samples() const
    {
        const std::vector<uint32_t> allSizes = sizes();
        const std::vector<uint32_t> allDurations = durations(allSizes.size());
        const std::vector<int64_t> offsets = chunkOffsets();
        const std::vector<uint32_t> counts = samplesPerChunk(offsets.size());
        std::vector<TextSample> all;
        int64_t time = 0;
        for (size_t chunk = 0; chunk < offsets.size(); ++chunk) {
            int64_t offset = offsets[chunk];
            for (uint32_t i = 0; i < counts[chunk] && all.size() < allSizes.size(); ++i) {
                const size_t index = all.size();
                all.push_back({offset, allSizes[index], time});
                offset += allSizes[index];
                time += allDurations[index];
            }
        }
        return all;
    }

    Mpeg4Box box;
};

QString text(const QByteArray& bytes)
{
    if (bytes.startsWith("\xFE\xFF") || bytes.startsWith("\xFF\xFE"))
        return QStringDecoder(QStringDecoder::Utf16).decode(bytes);
    QStringDecoder utf8(QStringDecoder::Utf8);
    const QString decoded = utf8.decode(bytes);
    return utf8.hasError() ? stringFromMacRoman(bytes) : decoded;
}

/// By how much the edits move the track's own time, in its own units.
double shiftOfEdits(const Mpeg4Box& track, uint32_t movieTimescale, uint32_t timescale)
{
    const Mpeg4Box edits = track.descendant({fourCharCode("edts"), fourCharCode("elst")});
    const size_t wide = edits.version() == 1 ? 8 : 4;
    double shift = 0.0;
    for (size_t i = 0; i < SampleTable::numEntries(edits, 4, 2 * wide + 4); ++i) {
        const size_t at = 8 + (2 * wide + 4) * i;
        const uint64_t mediaTime = edits.number(at + wide, wide);
        const bool isEmpty = mediaTime >> (8 * wide - 1) != 0;
        if (!isEmpty)
            return shift - static_cast<double>(mediaTime);
        if (movieTimescale > 0)
            shift += static_cast<double>(edits.number(at, wide)) * timescale / movieTimescale;
    }
    return shift;
}

AudioMarkerPtr marker(size_t index, double position, const QString& name)
{
    return std::make_shared<AudioMarker>(static_cast<int32_t>(index) + 1,
                                         std::llround(std::clamp(position, 0.0, kLastFrame)), name);
}

std::vector<AudioMarkerPtr> markersOfTrack(const FileHandle& file, const Mpeg4Box& movie,
                                           const Mpeg4Box& track, double sampleRate)
{
    const uint32_t movieTimescale = mpeg4Timescale(movie.descendant({fourCharCode("mvhd")}));
    const uint32_t timescale = mpeg4Timescale(track.descendant({fourCharCode("mdia"), fourCharCode("mdhd")}));
    if (timescale == 0)
        return {};
    const double shift = shiftOfEdits(track, movieTimescale, timescale);
    std::vector<AudioMarkerPtr> markers;
    for (const TextSample& sample : SampleTable(track).samples()) {
        const QByteArray bytes = file.readAt(sample.offset, std::min<int64_t>(sample.size, 2 + 0xFFFF));
        const Mpeg4Box box(bytes);
        if (box.size() < 2)
            continue;
        const double position = (static_cast<double>(sample.time) + shift) * sampleRate / timescale;
        markers.push_back(marker(markers.size(), position, text(box.copy(2, box.number(0, 2)))));
    }
    return markers;
}

/// The first text track that another track refers to for its chapters.
std::optional<Mpeg4Box> chapterTrack(const Mpeg4Box& movie)
{
    constexpr size_t mostTracks = 64;
    std::vector<Mpeg4Box> tracks = movie.children(fourCharCode("trak"));
    tracks.erase(tracks.begin() + static_cast<std::ptrdiff_t>(std::min(tracks.size(), mostTracks)),
                 tracks.end());
    for (const Mpeg4Box& each : tracks) {
        const Mpeg4Box references = each.descendant({fourCharCode("tref"), fourCharCode("chap")});
        for (size_t i = 0; i < std::min(references.size() / 4, mostTracks); ++i) {
            for (const Mpeg4Box& track : tracks) {
                const FourCharCode kind =
                    track.descendant({fourCharCode("mdia"), fourCharCode("hdlr")}).number32(8);
                const bool isText = kind == fourCharCode("text") || kind == fourCharCode("sbtl");
                if (isText && mpeg4TrackID(track) == references.number32(4 * i))
                    return track;
            }
        }
    }
    return std::nullopt;
}

std::vector<AudioMarkerPtr> markersOfList(const Mpeg4Box& list, double sampleRate)
{
    constexpr double unitsPerSecond = 1e7;
    const bool hasReserved = list.version() != 0;
    size_t at = hasReserved ? 8 : 4;
    const size_t count = list.number(at, 1);
    ++at;
    std::vector<AudioMarkerPtr> markers;
    for (size_t i = 0; i < count && at + 9 <= list.size(); ++i) {
        const auto seconds = static_cast<double>(list.number(at, 8)) / unitsPerSecond;
        const size_t length = list.number(at + 8, 1);
        markers.push_back(marker(i, seconds * sampleRate, text(list.copy(at + 9, length))));
        at += 9 + length;
    }
    return markers;
}

} // namespace

MarkerList read(const FileHandle& file, double sampleRate)
{
    const QByteArray bytes = readMpeg4Movie(file);
    const Mpeg4Box movie(bytes);
    std::vector<AudioMarkerPtr> markers;
    if (const auto track = chapterTrack(movie))
        markers = markersOfTrack(file, movie, *track, sampleRate);
    if (markers.empty())
        markers = markersOfList(movie.descendant({fourCharCode("udta"), fourCharCode("chpl")}), sampleRate);
    if (markers.empty())
        return nullptr;
    return std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(markers));
}

} // namespace velloria::Mpeg4Chapters
