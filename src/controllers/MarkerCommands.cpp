#include "controllers/MarkerCommands.h"

#include "controllers/DisplayController.h"
#include "controllers/TransportController.h"
#include "document/DocumentRecording.h"
#include "document/MarkerPlacement.h"
#include "document/UndoGroup.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

// A spacing of one frame in seconds, times the rate, may come out a little below 1.
constexpr double kRoundingOfProducts = 1e-9;

/// The largest magnitude of all tracks, one a bin.
std::vector<float> peaks(const SoundDocument& document, double secondsPerBin)
{
    const double rate = document.sampleRate();
    const double framesPerBin = secondsPerBin * rate;
    std::vector<float> levels;
    for (const AudioTrackPtr& track : *document.audioTracks()) {
        const FloatBuffer pairs =
            track->minMaxDataAtOffset(0, static_cast<double>(document.numberOfFrames()), framesPerBin);
        levels.resize(std::max(levels.size(), pairs.size() / 2));
        for (size_t bin = 0; bin < pairs.size() / 2; ++bin) {
            float low = pairs[2 * bin];
            float high = pairs[2 * bin + 1];
            // No summary reaches here (the clip was cut before its file was scanned): the samples tell.
            if (low > high) {
                const auto start =
                    static_cast<int64_t>(std::llround(static_cast<double>(bin) * framesPerBin));
                const auto end =
                    static_cast<int64_t>(std::llround(static_cast<double>(bin + 1) * framesPerBin));
                const FloatBuffer samples =
                    track->sampleDataAtOffset(start, std::max<int64_t>(1, end - start));
                const auto [lowest, highest] = std::minmax_element(samples.begin(), samples.end());
                low = *lowest;
                high = *highest;
            }
            levels[bin] = std::max({levels[bin], std::abs(low), std::abs(high)});
        }
    }
    return levels;
}

} // namespace

MaybeError MarkerCommands::insertMarker()
{
    if (mTransport.isPlaying() || mDocument.recording().isInProgress())
        return addCueMarker(mTransport.transportTime());
    const SoundSelection selection = mSelection.normalizedSelection();
    const double rate = mDocument.sampleRate();
    const auto markerAt = [rate](double time, const QString& name) {
        return std::make_shared<AudioMarker>(0, frameAtTime(time, rate), name);
    };
    std::vector<AudioMarkerPtr> markers;
    if (selection.startTime == selection.endTime) {
        const int64_t number = mDocument.markers().count() + 1;
        markers = {markerAt(selection.startTime, QStringLiteral("New Marker %1").arg(number))};
    } else {
        markers = {markerAt(selection.startTime, QStringLiteral("Start Marker")),
                   markerAt(selection.endTime, QStringLiteral("End Marker"))};
    }
    return addMarkers(markers, QStringLiteral("Add Marker"));
}

MaybeError MarkerCommands::addCueMarker(double time)
{
    const int64_t number = mDocument.markers().count() + 1;
    const int64_t frame = frameAtTime(std::clamp(time, 0.0, mDocument.totalTime()), mDocument.sampleRate());
    return addMarkers({std::make_shared<AudioMarker>(0, frame, QStringLiteral("New Marker %1").arg(number))},
                      QStringLiteral("Add Marker"));
}

void MarkerCommands::deleteAllMarkers(const QString& actionName)
{
    if (mDocument.markers().count() == 0)
        return;
    const UndoGroup group(mDocument, actionName);
    mDocument.undoableSetAudioMarkers(nullptr);
}

MaybeError MarkerCommands::checkMarkerCount(const SoundDocument& document, int64_t numAdded)
{
    const int64_t numPresent = document.markers().count();
    if (numAdded <= SoundDocument::maximumNumberOfMarkers - numPresent)
        return std::nullopt;
    return Error{Error::Code::failed,
                 QStringLiteral("The document would have %1 markers; %2 are the most that it can hold.")
                     .arg(numPresent + numAdded)
                     .arg(SoundDocument::maximumNumberOfMarkers)};
}

MaybeError MarkerCommands::addMarkers(const std::vector<AudioMarkerPtr>& markers, const QString& actionName)
{
    if (MaybeError error = checkMarkerCount(mDocument, std::ssize(markers)))
        return error;
    mDocument.addMarkers(markers, actionName);
    return std::nullopt;
}

MaybeError MarkerCommands::insertMarkersAtGridlines(double offset, double spacing, const QString& actionName)
{
    if (!(spacing > 0.0) || !std::isfinite(spacing) || !std::isfinite(offset))
        return Error{Error::Code::failed, QStringLiteral("The grid has no lines: its spacing is 0.")};
    // Closer lines would put several markers at each frame.
    if (spacing * mDocument.sampleRate() < 1.0 - kRoundingOfProducts)
        return Error{
            Error::Code::failed,
            QStringLiteral("The lines of the grid must be a frame apart at least, which is %1 s here.")
                .arg(1.0 / mDocument.sampleRate())};
    const double total = mDocument.numberOfFrames() > 0 ? mDocument.totalTime() : 0.0;
    if (MaybeError error = checkMarkerCount(mDocument, MarkerPlacement::numGridLines(offset, spacing, total)))
        return error;
    mDocument.addMarkers(MarkerPlacement::atGridLines(offset, spacing, total, mDocument.sampleRate()),
                         actionName);
    return std::nullopt;
}

MaybeError MarkerCommands::insertMarkersInGaps(const QString& actionName)
{
    if (mDocument.numberOfFrames() < 1)
        return std::nullopt;
    if (!mDisplay.completeWaveform())
        return Error::cancelled();
    const std::vector<float> levels = peaks(mDocument, MarkerPlacement::secondsPerBin);
    return addMarkers(MarkerPlacement::atLoudPassages(levels, mDocument.sampleRate()), actionName);
}

} // namespace velloria
