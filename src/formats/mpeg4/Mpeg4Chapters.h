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
MarkerList read(const FileHandle& file, double sampleRate);

/// The text track of some markers: the samples, for an 'mdat' box, and the track that describes them.
class Track
{
public:
    /// `sampleRate` is its clock; `numFrames` is where the last chapter ends.
    Track(const MarkerList& markers, uint32_t sampleRate, int64_t numFrames);

    /// The names, one sample a chapter.
    const QByteArray& samples() const { return mSamples; }
    /// The 'trak' box, for samples that begin at an offset in the file.
    QByteArray box(uint32_t trackID, int64_t samplesOffset) const;

private:
    QByteArray header(uint32_t trackID) const;
    QByteArray edits() const;
    QByteArray media(int64_t samplesOffset) const;
    QByteArray sampleTable(int64_t samplesOffset) const;

    uint32_t mTimescale;
    int64_t mStart = 0;
    /// Of the chapters, and of the samples that hold them.
    int64_t mDuration = 0;
    int64_t mMediaDuration = 0;
    QByteArray mSamples;
    std::vector<uint32_t> mSizes;
    std::vector<uint32_t> mDurations;
};

/// The 'chpl' box of some markers.
QByteArray list(const MarkerList& markers, double sampleRate);

} // namespace Mpeg4Chapters

} // namespace velloria
