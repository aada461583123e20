#include "controllers/DisplayController.h"

#include "document/DocumentRecording.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>
#include <utility>

namespace velloria
{

DisplayController::DisplayController(SoundDocument& document, SoundControllerHost& host)
    : mDocument(document)
    , mHost(host)
{
    WaveformScans::shared().addObserver(*this);
}

DisplayController::~DisplayController()
{
    WaveformScans::shared().removeObserver(*this);
}

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
    if (mDocument.numberOfFrames() > 0)
        WaveformScans::shared().start(*mDocument.audioTracks());
}

const std::vector<const SampleSource*>& DisplayController::filesOfTracks() const
{
    const TrackList tracks = mDocument.audioTracks();
    if (tracks == mTracksOfFiles)
        return mFilesOfTracks;
    mFilesOfTracks.clear();
    for (const AudioTrackPtr& track : *tracks) {
        const SampleSource* last = nullptr;
        track->clips().forEachFrom(0, [&](const AudioClipPtr& clip, int64_t) {
            const SampleSource* const file = clip->sourceFile().get();
            if (file && file != std::exchange(last, file))
                mFilesOfTracks.push_back(file);
            return true;
        });
    }
    std::sort(mFilesOfTracks.begin(), mFilesOfTracks.end());
    mFilesOfTracks.erase(std::unique(mFilesOfTracks.begin(), mFilesOfTracks.end()), mFilesOfTracks.end());
    mTracksOfFiles = tracks;
    return mFilesOfTracks;
}

double DisplayController::waveformRenderProgress() const
{
    const WaveformScans& scans = WaveformScans::shared();
    if (!scans.isRunning()) {
        mTracksOfFiles.reset();
        return 1.0;
    }
    double progress = 1.0;
    for (const SampleSource* const file : filesOfTracks())
        progress = std::min(progress, scans.progressOf(*file));
    return progress;
}

bool DisplayController::completeWaveform()
{
    constexpr std::chrono::milliseconds interval(20);
    const std::unique_ptr<VLWaveformCacheRenderer> renderer =
        waveformRenderProgress() < 1.0 ? nullptr
                                       : VLWaveformCacheRenderer::rendererForTracks(*mDocument.audioTracks());
    if (!renderer && waveformRenderProgress() >= 1.0)
        return true;
    const std::unique_ptr<Progress> progress = mHost.beginProgress(QStringLiteral("Reading the waveform"));
    if (renderer)
        renderer->run(*progress);
    while (!renderer && waveformRenderProgress() < 1.0 && !progress->isCancelled()) {
        WaveformScans::shared().update();
        progress->setProgressValue(waveformRenderProgress());
        std::this_thread::sleep_for(interval);
    }
    return !progress->isCancelled();
}

void DisplayController::scanDidReach(const SampleSource& file, int64_t firstFrame, int64_t endFrame)
{
    // Pasted sound lies anywhere, in many pieces: one range around them all is cheap enough to draw.
    int64_t begin = INT64_MAX;
    int64_t end = 0;
    for (const AudioTrackPtr& track : *mDocument.audioTracks())
        track->clips().forEachFrom(0, [&](const AudioClipPtr& clip, int64_t start) {
            const int64_t first = std::max(firstFrame - clip->sourceOffset(), int64_t{0});
            const int64_t last = std::min(endFrame - clip->sourceOffset(), clip->numFrames());
            if (clip->sourceFile().get() == &file && first < last) {
                begin = std::min(begin, start + first);
                end = std::max(end, start + last);
            }
            return true;
        });
    if (begin < end)
        mHost.setNeedsDisplayWithFrameOffset(begin, end - begin);
}

} // namespace velloria
