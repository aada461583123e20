#pragma once

#include "document/clips/AudioClip.h"
#include "document/clips/AudioMarker.h"
#include "document/clips/AudioTrack.h"
#include "document/clips/SoundSelection.h"

#include <cstdint>
#include <vector>

namespace velloria
{

/// What the waveform views show and change: tracks, markers, selection and cue of one document. Times are
/// seconds. Main thread.
class WaveformSubject
{
public:
    virtual ~WaveformSubject() = default;

    virtual int32_t numTracks() const = 0;
    virtual int64_t numFrames() const = 0;
    virtual double sampleRate() const = 0;
    /// For pictures that are computed of the samples themselves. Null where there are none.
    virtual TrackList tracks() const { return nullptr; }
    double totalTime() const { return static_cast<double>(numFrames()) / sampleRate(); }

    /// (min, max) pairs of `numColumns` columns. A column covers `framesPerColumn` frames, column 0 begins at
    /// frame 0. (1, -1) stands where there is nothing to draw: outside the track, or not known yet.
    virtual FloatBuffer columns(int64_t firstColumn, int64_t numColumns, double framesPerColumn,
                                int32_t track) = 0;

    /// The whole of a track in `numColumns` columns, the same pairs.
    virtual FloatBuffer overviewColumns(int64_t numColumns, int32_t track) = 0;

    virtual SoundSelection selection() const = 0;
    virtual void setSelection(const SoundSelection& selection) = 0;
    virtual double cueTime() const = 0;
    virtual void setCueTime(double seconds) = 0;
    /// The cue moves by itself then, and setting it moves what is heard.
    virtual bool isPlaying() const { return false; }

    /// In the order of their positions. Never null.
    virtual MarkerList markers() const = 0;
    // Each is one undo step.
    virtual void setMarkerName(const AudioMarkerPtr&, const QString&) {}
    virtual void setMarkerPosition(const AudioMarkerPtr&, int64_t) {}
    virtual void removeMarker(const AudioMarkerPtr&) {}
    virtual double nearestZeroCrossing(double within, double to, int32_t track) const = 0;
};

} // namespace velloria
