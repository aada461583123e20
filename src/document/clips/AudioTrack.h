#pragma once

#include "document/clips/ClipList.h"

namespace velloria
{

class AudioTrack;
using AudioTrackPtr = std::shared_ptr<AudioTrack>;
/// An installed list of tracks never changes; an edit installs a new one.
using TrackList = std::shared_ptr<const std::vector<AudioTrackPtr>>;

/// One channel of a document: an ordered list of clips, with pan and volume. Changed only on the main thread,
/// by storing a new clip list, and only before it is installed; readers on other threads are then safe.
class AudioTrack
{
public:
    AudioTrack() = default;
    explicit AudioTrack(ClipList clips);
    AudioTrack(const AudioTrack& track) = default;

    static AudioTrackPtr track() { return std::make_shared<AudioTrack>(); }
    static AudioTrackPtr trackWithTrack(const AudioTrack& track);

    const ClipList& clips() const { return mClips; }
    void setClips(ClipList clips);
    void addClip(AudioClipPtr clip);
    int64_t length() const { return mClips.length(); }

    /// -1 is left, 0 the centre, 1 right.
    double pan() const { return mPan; }
    void setPan(double pan) { mPan = pan; }
    /// In dB.
    double volume() const;
    void setVolume(double volumeDB);
    /// Linear gain.
    double scalarVolume() const { return mScalarVolume; }
    void setScalarVolume(double volume) { mScalarVolume = volume; }

    /// The clips of a range, cut at its ends; an empty list beyond the track's end.
    ClipList clipsAtOffset(int64_t offset, int64_t length) const;

    /// Inserts at a frame; beyond the end the gap is filled with silence.
    void insertClip(AudioClipPtr clip, int64_t offset);
    void insertClips(const ClipList& clips, int64_t offset);

    void removeDataAtOffset(int64_t offset, int64_t length);

    /// Index of the clip of `clips` that holds the frame and its start frame; -1 (logged) when there is none.
    static int64_t indexAndOffset(int64_t& startFrame, int64_t targetOffset, const ClipList& clips);

    /// Fills `out` with the frames from `offset` on; before 0 and beyond the end there is silence.
    void readSamples(int64_t offset, std::span<float> out) const;
    FloatBuffer sampleDataAtOffset(int64_t offset, int64_t numFrames) const;

    /// The linear gains that pan and volume come to: the near side keeps the whole volume.
    struct StereoGains {
        float left;
        float right;
    };
    StereoGains stereoGains() const;

    /// Interleaved left and right with pan and volume applied, a linear balance law: two floats a frame.
    FloatBuffer stereoDataAtOffset(int64_t offset, int64_t numFrames) const;

    /// Minimum and maximum over a range, from the summaries; false for a negative offset or while a summary
    /// does not reach there. With no frames: 100 and -100.
    bool getMin(double& min, double& max, int64_t offset, int64_t numFrames) const;

    /// (min, max) pairs for drawing, one a column of `stride` frames; (1, -1) where there is no data yet.
    FloatBuffer minMaxDataAtOffset(double offset, double numFrames, double stride) const;

private:
    ClipList mClips;
    double mPan = 0.0;
    double mScalarVolume = 1.0;
};

} // namespace velloria
