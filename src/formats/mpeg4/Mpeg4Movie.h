#pragma once

#include "document/clips/AudioMarker.h"
#include "platform/FileHandle.h"

#include <QByteArray>

namespace velloria
{

/// What an MPEG-4 file of sound gets beside the sound: tags and chapters.
struct Mpeg4Extras {
    /// A 'meta' box; may be empty.
    QByteArray meta;
    MarkerList markers;
    uint32_t sampleRate = 0;
    int64_t numFrames = 0;

    bool hasMarkers() const { return markers && !markers->empty(); }
    /// No less than the room that they take in the 'moov' box.
    int64_t numBytes() const;
};

/// Puts tags and chapters into a complete MPEG-4 file of one sound track, in place of those that it has. The
/// 'moov' box stays where it is when there is free space behind it, else it goes to the end of the file; the
/// sound is not touched.
MaybeError putIntoMpeg4File(FileHandle& file, const Mpeg4Extras& extras);

} // namespace velloria
