#pragma once

#include "document/clips/AudioMarker.h"
#include "platform/FileHandle.h"
#include "platform/codec/Mpeg4Box.h"

#include <QByteArray>
#include <cstdint>

namespace velloria
{

/// Markers as the chapters of an MPEG-4 file. There are two ways to store them, and players know one or the
/// other: a text track that the sound's track refers to (exact positions, names of any length) and a list in
/// the user data (times in units of 100 ns, at most 255 chapters with names of at most 255 bytes). Both are
/// written; the track is read where there is one, else the list.
namespace Mpeg4Chapters
{

/// The chapters of a file as markers, in order. Damaged ones are left out; null when there are none.
/// `startFrames` is when the sound begins in the film.
MarkerList read(const FileHandle& file, double sampleRate, double startFrames = 0.0);

/// The text track that another track of the 'moov' box refers to for its chapters; 0 when there is none.
uint32_t trackID(const Mpeg4Box& movie);

/// By how much the edits of a track move its own time, in its own units.
double shiftOfEdits(const Mpeg4Box& track, uint32_t movieTimescale, uint32_t timescale);

/// The text track of some markers: the samples, for an 'mdat' box, and the track that describes them.
class Track
{
public:
    /// `sampleRate` is its clock; `numFrames` is where the last chapter ends. The sound begins so many frames
    /// after the film does.
    Track(const MarkerList& markers, uint32_t sampleRate, int64_t numFrames, int64_t startFrames = 0);
    /// For a file whose own clock is another than the sample rate.
    void setMovieTimescale(uint32_t timescale);

    /// The names, one sample a chapter.
    const QByteArray& samples() const { return mSamples; }
    /// The 'trak' box, for samples that begin at an offset in the file.
    QByteArray box(uint32_t trackID, int64_t samplesOffset) const;

private:
    QByteArray header(uint32_t trackID) const;
    QByteArray edits() const;
    QByteArray media(int64_t samplesOffset) const;
    QByteArray sampleTable(int64_t samplesOffset) const;

    int64_t inMovieTime(int64_t time, bool roundsUp) const;

    uint32_t mTimescale;
    uint32_t mMovieTimescale;
    int64_t mStart = 0;
    /// Of the chapters, and of the samples that hold them.
    int64_t mDuration = 0;
    int64_t mMediaDuration = 0;
    QByteArray mSamples;
    std::vector<uint32_t> mSizes;
    std::vector<uint32_t> mDurations;
};

/// The 'chpl' box of some markers.
QByteArray list(const MarkerList& markers, double sampleRate, int64_t startFrames = 0);

} // namespace Mpeg4Chapters

} // namespace velloria
