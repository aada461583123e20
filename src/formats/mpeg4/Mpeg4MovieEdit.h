#pragma once

#include "document/clips/AudioMarker.h"
#include "formats/mpeg4/Mpeg4Layout.h"
#include "formats/tags/AudioMetadata.h"

namespace velloria
{

/// Changes of what an opened file's 'moov' box says beside the sound. What a change does not touch stays as
/// it is, byte for byte.
namespace Mpeg4MovieEdit
{

/// A track whose samples have moved. `offsets` are of its chunks, in order.
QByteArray trackWithOffsets(const Mpeg4Box& track, std::span<const int64_t> offsets, bool isWide);

/// A text track of chapters and the list in the user data, in the place of those that there are.
struct Chapters {
    uint32_t trackID = 0;
    /// The file has no such track yet; the sound's will refer to it.
    bool isNew = false;
    uint32_t soundTrackID = 0;
    /// The 'trak' and 'chpl' boxes; empty to leave chapters out.
    QByteArray track;
    QByteArray list;
};
/// The 'moov' box's payload with other chapters.
QByteArray movieWithChapters(const Mpeg4Box& movie, const Chapters& chapters);

/// Tags: the items of the list whose value differs between `before` (what was read from it) and `now` are
/// made anew, with the text about the sound's place (`gaplessText`) where there was one; all others stay, and
/// so does that text without a new one, where the sound does.
struct Tags {
    const AudioMetadata& before;
    const AudioMetadata& now;
    QByteArray gaplessText;
    bool keepsGaplessText = false;
};
/// Whether the list has the text about the sound's place.
bool hasGaplessText(const Mpeg4Box& movie);
/// The 'moov' box's payload with other tags.
QByteArray movieWithTags(const Mpeg4Box& movie, const Tags& tags);
} // namespace Mpeg4MovieEdit

} // namespace velloria
