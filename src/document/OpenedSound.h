#pragma once

#include "document/clips/AudioTrack.h"
#include "formats/file/AudioFile.h"

namespace velloria
{

/// The sound of a file as a document got it from there: one track a channel, each read from start to end.
/// While the document's tracks are still just that, however often they were cut and put together again, its
/// sound is the sound of that file, and a save may copy its packets instead of encoding what was decoded of
/// them. Undo leads back to it, too, since it is the sound that is compared and not what was done.
class OpenedSound
{
public:
    OpenedSound() = default;
    OpenedSound(std::shared_ptr<const AudioFile> file, const std::vector<AudioTrackPtr>& tracks,
                double sampleRate);

    /// Null for a document that was not opened from a file.
    const std::shared_ptr<const AudioFile>& file() const { return mFile; }
    /// After a save that copied the packets: they stand in that file as well.
    void moveTo(std::shared_ptr<const AudioFile> file) { mFile = std::move(file); }

    /// Whether these tracks, at this rate, are that sound, whole and untouched.
    bool isWholeIn(const std::vector<AudioTrackPtr>& tracks, double sampleRate) const;

    /// Which runs of a range of these tracks, at this rate, are that sound on every track; where frames lie
    /// is counted from the start of the range. None where something plays the tracks otherwise (another rate,
    /// order, pan or volume), and where there are more than maximumNumberOfPieces: what is kept of so many
    /// would be next to nothing.
    SoundPieces piecesIn(const std::vector<AudioTrackPtr>& tracks, double sampleRate, int64_t startFrame,
                         int64_t numFrames) const;
    static constexpr size_t maximumNumberOfPieces = 1'000'000;

    /// Of the file, so far.
    int64_t numMissedReads() const;

private:
    std::shared_ptr<const AudioFile> mFile;
    std::vector<AudioTrack> mTracks;
    double mSampleRate = 0.0;
};

} // namespace velloria
