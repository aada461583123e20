#include "document/OpenedSound.h"

#include "document/clips/MutableAudioClip.h"

#include <algorithm>

namespace velloria
{

namespace
{

/// Whether two clips read one channel of one file.
bool haveOneSource(const AudioClip& clip, const AudioClip& whole)
{
    if (whole.sourceFile())
        return clip.sourceFile() == whole.sourceFile() && clip.channelIndex() == whole.channelIndex();
    const auto* const scratch = dynamic_cast<const MutableAudioClip*>(&clip);
    const auto* const wholeScratch = dynamic_cast<const MutableAudioClip*>(&whole);
    return scratch && wholeScratch && wholeScratch->tempFile() &&
           scratch->tempFile() == wholeScratch->tempFile();
}

/// Whether a clip holds what another one holds from a frame on.
bool isPartOf(const AudioClip& clip, const AudioClip& whole, int64_t frame)
{
    return clip.sourceOffset() == whole.sourceOffset() + frame &&
           frame + clip.numFrames() <= whole.numFrames() && haveOneSource(clip, whole);
}

bool soundAlike(const AudioTrack& track, const AudioTrack& opened)
{
    return track.pan() == opened.pan() && track.scalarVolume() == opened.scalarVolume();
}

bool isWhole(const AudioTrack& track, const AudioTrack& opened)
{
    if (track.length() != opened.length() || !soundAlike(track, opened))
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

/// The runs of a range of one track; too many are as good as none.
SoundPieces piecesOfTrack(const AudioTrack& track, const AudioTrack& opened, int64_t startFrame,
                          int64_t numFrames)
{
    SoundPieces pieces;
    if (opened.length() == 0)
        return pieces;
    const AudioClipPtr whole = opened.clips().at(0);
    for (auto cursor = ClipList::Cursor::atFrame(track.clips(), startFrame);
         !cursor.atEnd() && cursor.startFrame() < startFrame + numFrames; cursor.next()) {
        const AudioClip& clip = *cursor.clip();
        if (!haveOneSource(clip, *whole))
            continue;
        // What the clip shows of the file, and of that what lies in the range and in the opened sound.
        const int64_t toSource = clip.sourceOffset() - whole->sourceOffset() - cursor.startFrame();
        const int64_t first = std::max({startFrame, cursor.startFrame(), -toSource});
        const int64_t end = std::min(
            {startFrame + numFrames, cursor.startFrame() + clip.numFrames(), whole->numFrames() - toSource});
        appendPiece(pieces, {first - startFrame, first + toSource, end - first});
        if (pieces.size() > OpenedSound::maximumNumberOfPieces)
            return {};
    }
    return pieces;
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

SoundPieces OpenedSound::piecesIn(const std::vector<AudioTrackPtr>& tracks, double sampleRate,
                                  int64_t startFrame, int64_t numFrames) const
{
    if (!mFile || tracks.empty() || sampleRate != mSampleRate ||
        !std::equal(
            tracks.begin(), tracks.end(), mTracks.begin(), mTracks.end(),
            [](const AudioTrackPtr& track, const AudioTrack& opened) { return soundAlike(*track, opened); }))
        return {};
    SoundPieces pieces = piecesOfTrack(*tracks.front(), mTracks.front(), startFrame, numFrames);
    for (size_t i = 1; i < tracks.size() && !pieces.empty(); ++i)
        pieces = commonPieces(pieces, piecesOfTrack(*tracks[i], mTracks[i], startFrame, numFrames));
    return pieces.size() <= maximumNumberOfPieces ? pieces : SoundPieces();
}

int64_t OpenedSound::numMissedReads() const
{
    return mFile && mFile->fileHandle() ? mFile->fileHandle()->numMissedReads() : 0;
}

} // namespace velloria
