#include "formats/mpeg4/Mpeg4Movie.h"

#include "formats/mpeg4/Mpeg4Chapters.h"
#include "formats/streams/BigEndianOutputStream.h"
#include "platform/codec/Mpeg4Box.h"

#include <QtEndian>
#include <algorithm>

namespace velloria
{

namespace
{

constexpr FourCharCode moov = fourCharCode("moov");
constexpr FourCharCode mvhd = fourCharCode("mvhd");
constexpr FourCharCode trak = fourCharCode("trak");
constexpr FourCharCode udta = fourCharCode("udta");
constexpr FourCharCode freeSpace = fourCharCode("free");
constexpr int64_t headerBytes = 8;

Error damaged()
{
    return {Error::Code::writeFailed,
            QStringLiteral("The file's tables were not written as they should be.")};
}

QByteArray number32(uint32_t value)
{
    BigEndianOutputStream out;
    out.writeUInt32(value);
    return out.data();
}

/// The movie header, knowing of one more track.
QByteArray headerWithNextTrack(const Mpeg4Box& header, uint32_t nextTrackID)
{
    QByteArray bytes = header.copy(0, header.size());
    if (bytes.size() >= 4)
        qToBigEndian(nextTrackID, bytes.data() + bytes.size() - 4);
    return mpeg4Box(mvhd, bytes);
}

/// The sound's track, referring to the chapters.
QByteArray trackWithReference(const Mpeg4Box& track, uint32_t chapterTrackID)
{
    constexpr FourCharCode tref = fourCharCode("tref");
    return mpeg4Box(trak, track.childrenWithout(tref) +
                              mpeg4Box(tref, mpeg4Box(fourCharCode("chap"), number32(chapterTrackID))));
}

/// The new 'moov' box with its header. `samplesOffset` is where the chapters' samples are.
QByteArray movieWith(const Mpeg4Box& movie, const Mpeg4Extras& extras, int64_t samplesOffset)
{
    const Mpeg4Box track = movie.descendant({trak});
    QByteArray tracks = mpeg4Box(trak, track.copy(0, track.size()));
    uint32_t nextTrackID = mpeg4TrackID(track) + 1;
    if (extras.hasMarkers()) {
        const Mpeg4Chapters::Track chapters(extras.markers, extras.sampleRate, extras.numFrames);
        tracks = trackWithReference(track, nextTrackID) + chapters.box(nextTrackID, samplesOffset);
        ++nextTrackID;
    }
    const QByteArray list =
        extras.hasMarkers() ? Mpeg4Chapters::list(extras.markers, extras.sampleRate) : QByteArray();
    // Tags can be as large as their pictures: they are copied once only.
    const auto userBytes = static_cast<size_t>(list.size() + extras.meta.size());
    QByteArray boxes = headerWithNextTrack(movie.descendant({mvhd}), nextTrackID) + tracks;
    if (userBytes > 0)
        boxes += mpeg4BoxHeader(udta, userBytes) + list;
    const auto size = static_cast<size_t>(boxes.size() + extras.meta.size());
    QByteArray result;
    result.reserve(mpeg4BoxHeaderBytes + static_cast<qsizetype>(size));
    result += mpeg4BoxHeader(moov, size) + boxes;
    return result += extras.meta;
}

MaybeError writeFreeSpace(FileHandle& file, int64_t offset, int64_t numBytes)
{
    const QByteArray header = mpeg4Box(freeSpace, {});
    QByteArray bytes = number32(static_cast<uint32_t>(numBytes)) + header.sliced(4);
    return file.writeAt(offset, bytes.leftJustified(std::min<qsizetype>(numBytes, 4096), '\0'));
}

/// Where the room of the 'moov' box ends: behind the free space that follows it.
int64_t endOfRoom(const FileHandle& file, const Mpeg4BoxPlace& place)
{
    const QByteArray bytes = file.readAt(place.end(), headerBytes);
    const Mpeg4Box header(bytes);
    if (header.size() == headerBytes && header.number32(4) == freeSpace)
        return place.end() + header.number32(0);
    return place.end();
}

/// In the old one's place when it fits there, leaving no gap that could not be a box; else at the end.
MaybeError placeMovie(FileHandle& file, const Mpeg4BoxPlace& old, const QByteArray& movie)
{
    const int64_t roomEnd = endOfRoom(file, old);
    if (roomEnd >= file.length())
        return file.writeAt(old.offset, movie);
    const int64_t rest = roomEnd - old.offset - movie.size();
    if (rest == 0 || rest >= headerBytes) {
        MaybeError error = file.writeAt(old.offset, movie);
        return error || rest == 0 ? error : writeFreeSpace(file, old.offset + movie.size(), rest);
    }
    if (MaybeError error = file.writeAt(file.length(), movie))
        return error;
    return writeFreeSpace(file, old.offset, roomEnd - old.offset);
}

} // namespace

int64_t Mpeg4Extras::numBytes() const
{
    constexpr int64_t fixedBytes = 2048;
    // Of a chapter: time and size in the track, time and name in the list.
    constexpr int64_t chapterBytes = 12;
    constexpr int64_t largestListEntry = 9 + 255;
    const int64_t numChapters = hasMarkers() ? std::ssize(*markers) : 0;
    const int64_t numListed = std::min<int64_t>(numChapters, 255);
    return fixedBytes + meta.size() + numChapters * chapterBytes + numListed * largestListEntry;
}

MaybeError putIntoMpeg4File(FileHandle& file, const Mpeg4Extras& extras)
{
    const auto place = findMpeg4Box(file, moov);
    const QByteArray bytes = readMpeg4Movie(file);
    const Mpeg4Box movie(bytes);
    if (!place || movie.children(trak).size() != 1)
        return damaged();
    int64_t samplesOffset = 0;
    if (extras.hasMarkers()) {
        const Mpeg4Chapters::Track chapters(extras.markers, extras.sampleRate, extras.numFrames);
        // Where the 'moov' box is the last one, it moves on.
        const bool isLast = endOfRoom(file, *place) >= file.length();
        const int64_t offset = isLast ? place->offset : file.length();
        samplesOffset = offset + headerBytes;
        const QByteArray samples = mpeg4Box(fourCharCode("mdat"), chapters.samples());
        if (MaybeError error = file.writeAt(offset, samples))
            return error;
        if (isLast)
            return file.writeAt(offset + samples.size(), movieWith(movie, extras, samplesOffset));
    }
    return placeMovie(file, *place, movieWith(movie, extras, samplesOffset));
}

} // namespace velloria
