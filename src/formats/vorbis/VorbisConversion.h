#pragma once

#include "document/clips/ClipWriter.h"
#include "formats/vorbis/VorbisStream.h"
#include "platform/Progress.h"

namespace velloria
{

/// Decodes the Vorbis sound of a whole Ogg file into new clips, one a channel in the order of tracks: a sound
/// file in sections on all cores, where these are seen to join without a seam, any other from start to end.
/// Writing the scratch files goes on meanwhile. Used once, on one thread; progress is told there.
class VorbisConversion
{
public:
    using Clips = std::vector<std::shared_ptr<MutableAudioClip>>;

    /// `stream` has not been read from.
    explicit VorbisConversion(VorbisStream& stream);

    /// An error when it cannot go on (no room for scratch files) or is cancelled. Damage is no error: where
    /// pages are lost there is silence, as far as the positions in the file tell of it.
    MaybeError run(Progress& progress);

    /// They grow in run().
    const Clips& clips() const { return mWriter.clips(); }
    int64_t numFrames() const { return mNumFrames; }
    /// True when some sound could not be decoded.
    bool isDamaged() const { return mStream.isDamaged(); }

private:
    struct Section;

    bool decodeSections(Progress& progress, MaybeError* error);
    bool decodeSection(VorbisStream& stream, Section& section) const;
    MaybeError decodeInOrder(Progress& progress);
    MaybeError takeSilence(int64_t numFrames);
    MaybeError take(std::span<const float* const> channels, int64_t numFrames);
    MaybeError tellProgress(Progress& progress) const;

    VorbisStream& mStream;
    int64_t mNumFrames = 0;
    /// Those that come again when the file turns out to be damaged and is decoded anew.
    int64_t mNumFramesToDrop = 0;
    ClipWriter mWriter;
};

} // namespace velloria
