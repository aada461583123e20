#include "document/Mixdown.h"
#include "document/TrackRateConversion.h"
#include "document/UndoGroup.h"
#include "document/clips/FrameNumbers.h"

#include <cmath>

namespace velloria
{

namespace
{

/// Rates that differ by less are the same: a duration in seconds does not tell them apart.
constexpr double kRateTolerance = 1e-9;

} // namespace

MaybeError SoundDocument::mixdownToMono(Progress& progress)
{
    if (trackCount() == 1)
        return std::nullopt;
    MaybeError error;
    std::vector<AudioTrackPtr> tracks = Mixdown::toMono(*this, progress, &error);
    if (!error)
        undoableSetAudioTracks(std::make_shared<const std::vector<AudioTrackPtr>>(std::move(tracks)));
    return error;
}

MaybeError SoundDocument::mixdownToStereo(Progress& progress)
{
    MaybeError error;
    std::vector<AudioTrackPtr> tracks = Mixdown::toStereo(*this, progress, &error);
    if (!error)
        undoableSetAudioTracks(std::make_shared<const std::vector<AudioTrackPtr>>(std::move(tracks)));
    return error;
}

MaybeError SoundDocument::resampleTo(double newRate, double totalTime, Progress& progress,
                                     int64_t mostScratchBytes)
{
    if (!(totalTime > 0.0) || !(newRate > 0.0) || numberOfFrames() < 1)
        return std::nullopt;
    // The rate at which the present frames last that long.
    double sourceRate = static_cast<double>(numberOfFrames()) / totalTime;
    for (const double rate : {sampleRate(), newRate})
        if (std::abs(sourceRate - rate) <= kRateTolerance * rate)
            sourceRate = rate;
    MaybeError error;
    std::vector<AudioTrackPtr> tracks = *mAudioTracks;
    if (sourceRate != newRate) {
        TrackRateConversion conversion(sourceRate, newRate);
        const double numScratchBytes =
            totalTime * newRate * static_cast<double>(tracks.size() * sizeof(float));
        tracks = numScratchBytes > static_cast<double>(mostScratchBytes)
                     ? conversion.convertWhenRead(tracks, &error)
                     : conversion.convert(tracks, progress, &error);
    }
    if (error)
        return error;

    const UndoGroup group(*this);
    // Cancelled before the first frame there are none; markers and rate follow all the same.
    if (!tracks.empty()) {
        for (size_t i = 0; i < tracks.size(); ++i) {
            tracks[i]->setPan((*mAudioTracks)[i]->pan());
            tracks[i]->setScalarVolume((*mAudioTracks)[i]->scalarVolume());
        }
        undoableSetAudioTracks(std::make_shared<const std::vector<AudioTrackPtr>>(std::move(tracks)));
    }
    MarkerEdit markers(*audioMarkers());
    for (const AudioMarkerPtr& marker : *audioMarkers())
        markers.moveTo(marker, sourceRate == newRate ? marker->position()
                                                     : roundedFrame(static_cast<double>(marker->position()) *
                                                                    newRate / sourceRate));
    undoableEditAudioMarkers(std::move(markers));
    undoableSetSampleRate(newRate);
    return std::nullopt;
}

} // namespace velloria
