#pragma once

#include "document/clips/AudioMarker.h"
#include "document/clips/AudioTrack.h"

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
    double sampleRate() const { return mSampleRate; }
    /// Frames of the longest track.
    int64_t length() const;
    /// Seconds.
    double duration() const;
    const std::vector<AudioTrackPtr>& tracks() const { return mTracks; }
    /// Copies at another rate; positions are truncated toward zero.
    std::vector<AudioMarkerPtr> markersAtSampleRate(double sampleRate) const;

private:
    std::vector<AudioTrackPtr> mTracks;
    std::vector<AudioMarkerPtr> mMarkers;
    double mSampleRate;
};

} // namespace velloria
