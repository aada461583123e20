#include "controllers/SoundController.h"

#include <algorithm>

namespace velloria
{

FloatBuffer SoundController::minMaxDataFrom(double startTime, double endTime, double stride,
                                            int32_t track) const
{
    const TrackList tracks = mDocument->audioTracks();
    if (track < 0 || static_cast<size_t>(track) >= tracks->size() || mDocument->numberOfFrames() < 1)
        return {};
    const double total = mDocument->totalTime();
    if (!(endTime > 0.0 && startTime < endTime && startTime < total && stride > 0.0))
        return {};
    endTime = std::min(endTime, total);
    const double rate = mDocument->sampleRate();
    // A close-up is read once; of what still grows the summary tells more.
    if (SampleCloseUp::isCloseUp(stride * rate) && !isRecording()) {
        auto data =
            closeUpOfTrack(track).minMaxDataAtOffset((*tracks)[static_cast<size_t>(track)], startTime * rate,
                                                     (endTime - startTime) * rate, stride * rate);
        if (data)
            return std::move(*data);
    }
    return mDocument->minMaxDataFrom(startTime, endTime, stride, track);
}

SampleCloseUp& SoundController::closeUpOfTrack(int32_t track) const
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

void SoundController::startWaveformRender()
{
    if (mRenderer || mDocument->numberOfFrames() < 1)
        return;
    mRenderer = VLWaveformCacheRenderer::rendererForTracks(*mDocument->audioTracks(), this);
    if (mRenderer)
        mRenderer->startRender();
}

void SoundController::stopWaveformRender()
{
    mRenderer.reset();
}

double SoundController::waveformRenderProgress() const
{
    return mRenderer && mRenderer->isRunning() ? mRenderer->progress() : 1.0;
}

void SoundController::rendererDidUpdate(VLWaveformCacheRenderer&, int64_t offset, int64_t length)
{
    mHost.setNeedsDisplayWithFrameOffset(offset, length);
}

MaybeError SoundController::save(const SaveRequest& request)
{
    const QString name = displayName(request.path);
    const QStringList losses = mDocument->lossesWhenSaving(request);
    if (!losses.isEmpty() &&
        !mHost.alerts().confirmLoss(QStringLiteral("Save “%1” all the same?").arg(name), losses))
        return Error::cancelled();
    const std::unique_ptr<Progress> progress = mHost.beginProgress(QStringLiteral("Saving “%1”").arg(name));
    return mDocument->writeToPath(request, *progress);
}

} // namespace velloria
