#include "document/OpenedSound.h"

#include "document/clips/MutableAudioClip.h"

#include <algorithm>

namespace velloria
{

namespace
{

/// Whether a clip holds what another one holds from a frame on.
bool isPartOf(const AudioClip& clip, const AudioClip& whole, int64_t frame)
{
    if (clip.sourceOffset() != whole.sourceOffset() + frame || frame + clip.numFrames() > whole.numFrames())
        return false;
    if (whole.sourceFile())
        return clip.sourceFile() == whole.sourceFile() && clip.channelIndex() == whole.channelIndex();
    const auto* const scratch = dynamic_cast<const MutableAudioClip*>(&clip);
    const auto* const wholeScratch = dynamic_cast<const MutableAudioClip*>(&whole);
    return scratch && wholeScratch && wholeScratch->tempFile() &&
           scratch->tempFile() == wholeScratch->tempFile();
}

bool isWhole(const AudioTrack& track, const AudioTrack& opened)
{
    if (track.length() != opened.length() || track.pan() != opened.pan() ||
        track.scalarVolume() != opened.scalarVolume())
        return false;
    if (opened.length() == 0)
        return true;
    const AudioClipPtr whole = opened.clips().at(0);
    bool isSame = true;
    track.clips().forEachFrom(0, [&](const AudioClipPtr& clip, int64_t start) {
        isSame = clip->numFrames() == 0 || isPartOf(*clip, *whole, start);
        return isSame;
    });
    return isSame;
}

} // namespace

OpenedSound::OpenedSound(std::shared_ptr<const AudioFile> file, const std::vector<AudioTrackPtr>& tracks,
                         double sampleRate)
    : mFile(std::move(file))
    , mSampleRate(sampleRate)
{
    for (const AudioTrackPtr& track : tracks)
        mTracks.push_back(*track);
}

bool OpenedSound::isWholeIn(const std::vector<AudioTrackPtr>& tracks, double sampleRate) const
{
    return mFile && sampleRate == mSampleRate &&
           std::equal(
               tracks.begin(), tracks.end(), mTracks.begin(), mTracks.end(),
               [](const AudioTrackPtr& track, const AudioTrack& opened) { return isWhole(*track, opened); });
}

int64_t OpenedSound::numMissedReads() const
{
    return mFile && mFile->fileHandle() ? mFile->fileHandle()->numMissedReads() : 0;
}

} // namespace velloria
