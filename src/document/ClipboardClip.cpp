#include "document/ClipboardClip.h"

#include "document/TrackRateConversion.h"

#include <algorithm>

namespace velloria
{

ClipboardClip::ClipboardClip(double sampleRate)
    : mSampleRate(sampleRate)
{
}

std::shared_ptr<ClipboardClip> ClipboardClip::clipWithSampleRate(double sampleRate)
{
    return std::make_shared<ClipboardClip>(sampleRate);
}

void ClipboardClip::addTrack(const AudioTrackPtr& track)
{
    mTracks.push_back(track);
}

void ClipboardClip::addTrackWithClips(const ClipList& clips)
{
    mTracks.push_back(std::make_shared<AudioTrack>(clips));
}

void ClipboardClip::addMarkers(const std::vector<AudioMarkerPtr>& markers)
{
    mMarkers = markers;
}

int64_t ClipboardClip::length() const
{
    int64_t longest = 0;
    for (const AudioTrackPtr& track : mTracks)
        longest = std::max(longest, track->length());
    return longest;
}

double ClipboardClip::duration() const
{
    return static_cast<double>(length()) / mSampleRate;
}

std::vector<AudioTrackPtr> ClipboardClip::tracks(int32_t numTracks, double sampleRate, Progress& progress,
                                                 MaybeError* error) const
{
    if (sampleRate == mSampleRate)
        return mTracks;
    const auto count = static_cast<ptrdiff_t>(std::clamp(numTracks, 0, this->numTracks()));
    return TrackRateConversion(mSampleRate, sampleRate)
        .convert({mTracks.begin(), mTracks.begin() + count}, progress, error);
}

std::vector<AudioMarkerPtr> ClipboardClip::markersAtSampleRate(double sampleRate) const
{
    std::vector<AudioMarkerPtr> markers;
    markers.reserve(mMarkers.size());
    for (const AudioMarkerPtr& marker : mMarkers) {
        markers.push_back(AudioMarker::markerWithMarker(*marker));
        // At the same rate nothing may move, but x * r / r can fall short of x, which truncation would show.
        if (sampleRate != mSampleRate)
            markers.back()->setPosition(
                static_cast<int64_t>(static_cast<double>(marker->position()) * sampleRate / mSampleRate));
    }
    return markers;
}

} // namespace velloria
