#include "controllers/SoundController.h"

#include "document/MarkerPlacement.h"
#include "document/UndoGroup.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>

namespace velloria
{

MaybeError SoundController::insertMarker()
{
    if (isPlaying() || isRecording())
        return addCueMarker(transportTime());
    const SoundSelection selection = normalizedSelection();
    const double rate = mDocument->sampleRate();
    const auto markerAt = [rate](double time, const QString& name) {
        return std::make_shared<AudioMarker>(0, frameAtTime(time, rate), name);
    };
    std::vector<AudioMarkerPtr> markers;
    if (selection.startTime == selection.endTime) {
        const size_t number = mDocument->audioMarkers()->size() + 1;
        markers = {markerAt(selection.startTime, QStringLiteral("New Marker %1").arg(number))};
    } else {
        markers = {markerAt(selection.startTime, QStringLiteral("Start Marker")),
                   markerAt(selection.endTime, QStringLiteral("End Marker"))};
    }
    return addMarkers(markers, QStringLiteral("Add Marker"));
}

MaybeError SoundController::addCueMarker(double time)
{
    const size_t number = mDocument->audioMarkers()->size() + 1;
    const int64_t frame = frameAtTime(std::clamp(time, 0.0, mDocument->totalTime()), mDocument->sampleRate());
    return addMarkers({std::make_shared<AudioMarker>(0, frame, QStringLiteral("New Marker %1").arg(number))},
                      QStringLiteral("Add Marker"));
}

void SoundController::deleteAllMarkers(const QString& actionName)
{
    if (mDocument->audioMarkers()->empty())
        return;
    const UndoGroup group(*mDocument, actionName);
    mDocument->undoableSetAudioMarkers(nullptr);
}

MaybeError SoundController::checkMarkerCount(int64_t numAdded) const
{
    const int64_t numPresent = std::ssize(*mDocument->audioMarkers());
    if (numAdded <= SoundDocument::maximumNumberOfMarkers - numPresent)
        return std::nullopt;
    return Error{Error::Code::failed,
                 QStringLiteral("The document would have %1 markers; %2 are the most that it can hold.")
                     .arg(numPresent + numAdded)
                     .arg(SoundDocument::maximumNumberOfMarkers)};
}

MaybeError SoundController::addMarkers(const std::vector<AudioMarkerPtr>& markers, const QString& actionName)
{
    if (MaybeError error = checkMarkerCount(std::ssize(markers)))
        return error;
    mDocument->addMarkers(markers, actionName);
    return std::nullopt;
}

MaybeError SoundController::insertMarkersAtGridlines(double offset, double spacing, const QString& actionName)
{
    if (!(spacing > 0.0) || !std::isfinite(spacing) || !std::isfinite(offset))
        return Error{Error::Code::failed, QStringLiteral("The grid has no lines: its spacing is 0.")};
    const double total = mDocument->numberOfFrames() > 0 ? mDocument->totalTime() : 0.0;
    if (MaybeError error = checkMarkerCount(MarkerPlacement::numGridLines(offset, spacing, total)))
        return error;
    mDocument->addMarkers(MarkerPlacement::atGridLines(offset, spacing, total, mDocument->sampleRate()),
                          actionName);
    return std::nullopt;
}

MaybeError SoundController::insertMarkersInGaps(const QString& actionName)
{
    if (mDocument->numberOfFrames() < 1)
        return std::nullopt;
    if (!completeWaveform())
        return Error::cancelled();
    const std::vector<float> levels = peaks(MarkerPlacement::secondsPerBin);
    return addMarkers(MarkerPlacement::atLoudPassages(levels, mDocument->sampleRate()), actionName);
}

/// The summary of an opened file may still be in the making, or, without a window, not be asked for yet.
/// False when the person cancelled.
bool SoundController::completeWaveform()
{
    constexpr std::chrono::milliseconds interval(20);
    const std::unique_ptr<VLWaveformCacheRenderer> renderer =
        mRenderer ? nullptr : VLWaveformCacheRenderer::rendererForTracks(*mDocument->audioTracks());
    if (!renderer && waveformRenderProgress() >= 1.0)
        return true;
    const std::unique_ptr<Progress> progress = mHost.beginProgress(QStringLiteral("Reading the waveform"));
    if (renderer)
        renderer->run(*progress);
    while (!renderer && waveformRenderProgress() < 1.0 && !progress->isCancelled()) {
        progress->setProgressValue(waveformRenderProgress());
        std::this_thread::sleep_for(interval);
    }
    return !progress->isCancelled();
}

/// The largest magnitude of all tracks, one a bin.
std::vector<float> SoundController::peaks(double secondsPerBin) const
{
    const double rate = mDocument->sampleRate();
    const double framesPerBin = secondsPerBin * rate;
    std::vector<float> levels;
    for (const AudioTrackPtr& track : *mDocument->audioTracks()) {
        const FloatBuffer pairs =
            track->minMaxDataAtOffset(0, static_cast<double>(mDocument->numberOfFrames()), framesPerBin);
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

} // namespace velloria
