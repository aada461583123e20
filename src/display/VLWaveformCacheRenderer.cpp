#include "display/VLWaveformCacheRenderer.h"

#include "display/FileSummariser.h"
#include "platform/Log.h"

#include <algorithm>
#include <exception>
#include <mutex>

namespace velloria
{

/// Ranges on their way to the main thread. One message at a time is under way; what is filled in meanwhile
/// widens its range, so that a fast scan does not flood the event loop.
struct VLWaveformCacheRenderer::Updates {
    std::mutex mutex;
    int64_t start = 0;
    int64_t end = 0;
    bool isUnderWay = false;
    /// Main thread only; null once the renderer is gone.
    VLWaveformCacheRenderer* renderer = nullptr;
};

VLWaveformCacheRenderer::VLWaveformCacheRenderer(std::shared_ptr<const SampleSource> audioFile,
                                                 std::vector<WaveformCache> caches,
                                                 VLWaveformCacheRendererDelegate* delegate)
    : _audioFile(std::move(audioFile))
    , _caches(std::move(caches))
    , mUpdates(std::make_shared<Updates>())
    , _dispatchGroup(std::make_shared<DispatchGroup>())
    , _dispatchQueue(QStringLiteral("org.velloria.Velloria.WaveformCacheRenderer"))
    , _delegate(delegate)
{
    mUpdates->renderer = this;
}

std::unique_ptr<VLWaveformCacheRenderer>
VLWaveformCacheRenderer::rendererForTracks(const std::vector<AudioTrackPtr>& tracks,
                                           VLWaveformCacheRendererDelegate* delegate)
{
    std::shared_ptr<const SampleSource> file;
    std::vector<WaveformCache> caches;
    for (const AudioTrackPtr& track : tracks) {
        if (track->clips().isEmpty())
            continue;
        const AudioClipPtr clip = track->clips().at(0);
        const std::shared_ptr<const SampleSource>& source = clip->sourceFile();
        const bool isFresh = source && clip->sourceOffset() == 0 && clip->waveformCache().length() == 0;
        if (!isFresh || (file && file != source))
            continue;
        file = source;
        caches.push_back(clip->waveformCache());
    }
    if (!file)
        return nullptr;
    return std::make_unique<VLWaveformCacheRenderer>(file, std::move(caches), delegate);
}

VLWaveformCacheRenderer::~VLWaveformCacheRenderer()
{
    stopRender();
    _dispatchGroup->wait();
    mUpdates->renderer = nullptr;
}

bool VLWaveformCacheRenderer::canRender() const
{
    return _audioFile && static_cast<int64_t>(_caches.size()) == _audioFile->channelCount();
}

void VLWaveformCacheRenderer::startRender()
{
    if (mWasStarted || !canRender())
        return;
    mWasStarted = true;
    _dispatchQueue.async(_dispatchGroup, [this] { scan(nullptr); });
}

void VLWaveformCacheRenderer::run(Progress& progress)
{
    if (mWasStarted || !canRender())
        return;
    mWasStarted = true;
    scan(&progress);
}

void VLWaveformCacheRenderer::scan(Progress* progress)
try {
    FileSummariser summariser(*_audioFile, _caches);
    while (!_stop.load(std::memory_order_relaxed)) {
        const int64_t offset = summariser.numFramesDone();
        const int64_t length = summariser.appendBlock();
        if (length == 0)
            break;
        mNumFramesDone.store(offset + length, std::memory_order_relaxed);
        if (!progress) {
            didUpdate(offset, length);
            continue;
        }
        progress->setProgressValue(this->progress());
        if (progress->isCancelled())
            stopRender();
    }
    for (WaveformCache& cache : _caches)
        cache.finalizeCache();
} catch (const std::exception& exception) {
    logLine(QStringLiteral("Exception raised in RenderWaveformThread: %1")
                .arg(QString::fromUtf8(exception.what())));
}

void VLWaveformCacheRenderer::didUpdate(int64_t offset, int64_t length)
{
    {
        const std::lock_guard lock(mUpdates->mutex);
        mUpdates->end = offset + length;
        if (mUpdates->isUnderWay)
            return;
        mUpdates->isUnderWay = true;
        mUpdates->start = offset;
    }
    postToMainThread([updates = mUpdates] {
        std::unique_lock lock(updates->mutex);
        const int64_t start = updates->start;
        const int64_t count = updates->end - start;
        updates->isUnderWay = false;
        lock.unlock();
        VLWaveformCacheRenderer* const renderer = updates->renderer;
        if (renderer && renderer->_delegate)
            renderer->_delegate->rendererDidUpdate(*renderer, start, count);
    });
}

double VLWaveformCacheRenderer::progress() const
{
    const int64_t total = _audioFile ? _audioFile->numberOfFrames() : 0;
    const int64_t done = mNumFramesDone.load(std::memory_order_relaxed);
    return total > 0 ? std::min(1.0, static_cast<double>(done) / static_cast<double>(total)) : 1.0;
}

} // namespace velloria
