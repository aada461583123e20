#pragma once

#include "document/clips/AudioMarker.h"
#include "document/clips/AudioTrack.h"
#include "platform/Error.h"
#include "platform/Progress.h"

#include <memory>
#include <vector>

namespace velloria
{

/// What was copied: clip references (never samples), the markers relative to the copied range's first frame,
/// and the rate of the document they came from.
class ClipboardClip
{
public:
    explicit ClipboardClip(double sampleRate);
    static std::shared_ptr<ClipboardClip> clipWithSampleRate(double sampleRate);

    void addTrack(const AudioTrackPtr& track);
    void addTrackWithClips(const ClipList& clips);
    /// Replaces the marker list.
    void addMarkers(const std::vector<AudioMarkerPtr>& markers);

    int32_t numTracks() const { return static_cast<int32_t>(mTracks.size()); }
    int64_t numMarkers() const { return static_cast<int64_t>(mMarkers.size()); }
    double sampleRate() const { return mSampleRate; }
    /// Frames of the longest track.
    int64_t length() const;
    /// Seconds.
    double duration() const;
    const std::vector<AudioTrackPtr>& tracks() const { return mTracks; }
    /// The first `numTracks` tracks at a rate: all of its own where that is the clip's rate, else new ones
    /// with their sound converted (see TrackRateConversion).
    std::vector<AudioTrackPtr> tracks(int32_t numTracks, double sampleRate, Progress& progress,
                                      MaybeError* error) const;
    /// Copies at another rate; positions are truncated toward zero.
    std::vector<AudioMarkerPtr> markersAtSampleRate(double sampleRate) const;

private:
    std::vector<AudioTrackPtr> mTracks;
    std::vector<AudioMarkerPtr> mMarkers;
    double mSampleRate;
};

} // namespace velloria
