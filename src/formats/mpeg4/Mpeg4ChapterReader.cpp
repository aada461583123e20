#include "formats/mpeg4/Mpeg4Chapters.h"
#include "formats/mpeg4/Mpeg4SampleTable.h"
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

QString text(const QByteArray& bytes)
{
    if (bytes.startsWith("\xFE\xFF") || bytes.startsWith("\xFF\xFE"))
        return QStringDecoder(QStringDecoder::Utf16).decode(bytes);
    QStringDecoder utf8(QStringDecoder::Utf8);
    const QString decoded = utf8.decode(bytes);
    return utf8.hasError() ? stringFromMacRoman(bytes) : decoded;
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
    for (const Mpeg4SampleTable::Sample& sample : Mpeg4SampleTable(track).samples(kMaxChapters)) {
        const QByteArray bytes =
            file.readAt(sample.bytes.offset, std::min<int64_t>(sample.bytes.length, 2 + 0xFFFF));
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

/// The first chapter of a track begins with a tick of the movie's clock; the list knows it exactly.
void takeExactStart(const std::vector<AudioMarkerPtr>& markers, const std::vector<AudioMarkerPtr>& listed,
                    double sampleRate, uint32_t movieTimescale)
{
    if (listed.empty() || movieTimescale == 0 || markers.front()->name() != listed.front()->name())
        return;
    const auto distance = static_cast<double>(listed.front()->position() - markers.front()->position());
    if (std::abs(distance) * movieTimescale <= sampleRate)
        markers.front()->setPosition(listed.front()->position());
}

/// The first in any of the user data.
Mpeg4Box chapterList(const Mpeg4Box& movie)
{
    Mpeg4Box list{std::span<const uint8_t>()};
    for (const Mpeg4Box& userData : movie.children(fourCharCode("udta"))) {
        if (list.isEmpty())
            list = userData.descendant({fourCharCode("chpl")});
    }
    return list;
}

} // namespace

double shiftOfEdits(const Mpeg4Box& track, uint32_t movieTimescale, uint32_t timescale)
{
    const Mpeg4Box edits = track.descendant({fourCharCode("edts"), fourCharCode("elst")});
    const size_t wide = edits.version() == 1 ? 8 : 4;
    double shift = 0.0;
    for (size_t i = 0; i < Mpeg4SampleTable::numEntries(edits, 4, 2 * wide + 4); ++i) {
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

uint32_t trackID(const Mpeg4Box& movie)
{
    const std::optional<Mpeg4Box> track = chapterTrack(movie);
    return track ? mpeg4TrackID(*track) : 0;
}

MarkerList read(const FileHandle& file, double sampleRate, double startFrames)
{
    const QByteArray bytes = readMpeg4Movie(file);
    const Mpeg4Box movie(bytes);
    std::vector<AudioMarkerPtr> markers;
    if (const auto track = chapterTrack(movie))
        markers = markersOfTrack(file, movie, *track, sampleRate);
    const auto listed = markersOfList(chapterList(movie), sampleRate);
    if (markers.empty())
        markers = listed;
    else
        takeExactStart(markers, listed, sampleRate, mpeg4Timescale(movie.descendant({fourCharCode("mvhd")})));
    if (markers.empty())
        return nullptr;
    const int64_t start = std::llround(startFrames);
    for (const AudioMarkerPtr& each : markers)
        each->setPosition(std::max<int64_t>(0, each->position() - start));
    return std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(markers));
}

} // namespace velloria::Mpeg4Chapters
