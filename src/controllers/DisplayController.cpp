#include "controllers/DisplayController.h"

#include "document/DocumentRecording.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>

namespace velloria
{

FloatBuffer DisplayController::minMaxDataFrom(double startTime, double endTime, double stride,
                                              int32_t track) const
{
    const TrackList tracks = mDocument.audioTracks();
    if (track < 0 || static_cast<size_t>(track) >= tracks->size() || mDocument.numberOfFrames() < 1)
        return {};
    const double total = mDocument.totalTime();
    if (!(endTime > 0.0 && startTime < endTime && startTime < total && stride > 0.0))
        return {};
    endTime = std::min(endTime, total);
    const double rate = mDocument.sampleRate();
    // A close-up is read once; of what still grows the summary tells more.
    if (SampleCloseUp::isCloseUp(stride * rate) && !mDocument.recording().isInProgress()) {
        auto data =
            closeUpOfTrack(track).minMaxDataAtOffset((*tracks)[static_cast<size_t>(track)], startTime * rate,
                                                     (endTime - startTime) * rate, stride * rate);
        if (data)
            return std::move(*data);
    }
    return mDocument.minMaxDataFrom(startTime, endTime, stride, track);
}

SampleCloseUp& DisplayController::closeUpOfTrack(int32_t track) const
{
    const auto index = static_cast<size_t>(track);
    if (mCloseUps.size() <= index)
        mCloseUps.resize(index + 1);
    if (!mCloseUps[index])
        mCloseUps[index] =
            std::make_unique<SampleCloseUp>([&host = mHost](int64_t offset, int64_t numFrames) {
                host.setNeedsDisplayWithFrameOffset(offset, numFrames);
            });
    return *mCloseUps[index];
}

double DisplayController::nearestZeroCrossingWithin(double halfWidth, double time, int32_t track) const
{
    const TrackList tracks = mDocument.audioTracks();
    const double start = std::max(0.0, time - halfWidth);
    const double end = std::min(mDocument.totalTime(), time + halfWidth);
    if (!(halfWidth > 0.0) || !(start < end) || track < 0 || static_cast<size_t>(track) >= tracks->size())
        return time;
    const double rate = mDocument.sampleRate();
    const int64_t first = frameAtTime(start, rate);
    const FloatBuffer samples =
        (*tracks)[static_cast<size_t>(track)]->sampleDataAtOffset(first, frameAtTime(end, rate) - first);
    double nearest = time;
    double nearestDistance = INFINITY;
    for (size_t i = 1; i < samples.size(); ++i) {
        if ((samples[i - 1] < 0.0F) == (samples[i] < 0.0F))
            continue;
        const double crossing = static_cast<double>(first + static_cast<int64_t>(i)) / rate;
        // The earlier of two at the same distance stays.
        if (std::abs(crossing - time) < nearestDistance) {
            nearest = crossing;
            nearestDistance = std::abs(crossing - time);
        }
    }
    return nearest;
}

void DisplayController::startWaveformRender()
{
    if (mRenderer || mDocument.numberOfFrames() < 1)
        return;
    mRenderer = VLWaveformCacheRenderer::rendererForTracks(*mDocument.audioTracks(), this);
    if (mRenderer)
        mRenderer->startRender();
}

double DisplayController::waveformRenderProgress() const
{
    return mRenderer && mRenderer->isRunning() ? mRenderer->progress() : 1.0;
}

bool DisplayController::completeWaveform()
{
    constexpr std::chrono::milliseconds interval(20);
    const std::unique_ptr<VLWaveformCacheRenderer> renderer =
        mRenderer ? nullptr : VLWaveformCacheRenderer::rendererForTracks(*mDocument.audioTracks());
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

void DisplayController::rendererDidUpdate(VLWaveformCacheRenderer&, int64_t offset, int64_t length)
{
    mHost.setNeedsDisplayWithFrameOffset(offset, length);
}

} // namespace velloria
