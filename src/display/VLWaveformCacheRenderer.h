#pragma once

#include "display/summary/WaveformCache.h"
#include "document/clips/AudioTrack.h"
#include "platform/DispatchQueue.h"
#include "platform/Progress.h"

#include <atomic>
#include <memory>
#include <vector>

namespace velloria
{

class VLWaveformCacheRenderer;

/// Told on the main thread that the summaries of a range of frames were filled in.
class VLWaveformCacheRendererDelegate
{
public:
    virtual ~VLWaveformCacheRendererDelegate() = default;
    virtual void rendererDidUpdate(VLWaveformCacheRenderer& renderer, int64_t offset, int64_t length) = 0;
};

/// Scans an opened file once, front to back, and fills the summaries of its channels, so that drawing never
/// reads the file. The scan runs either in the background (startRender()) or on the caller's thread (run()).
///
/// Made, started and destroyed on the main thread; destruction stops the scan and waits for it. However the
/// scan ends (done, stopped, the file became shorter) the summaries are finished as far as they go.
class VLWaveformCacheRenderer
{
public:
    /// One summary a channel of the file, each the view that a clip owns (views share their entries).
    VLWaveformCacheRenderer(std::shared_ptr<const SampleSource> audioFile, std::vector<WaveformCache> caches,
                            VLWaveformCacheRendererDelegate* delegate = nullptr);
    /// For the opened file that these tracks read in place from its first frame on, as far as they have no
    /// summary yet; null when there is nothing to scan.
    static std::unique_ptr<VLWaveformCacheRenderer>
    rendererForTracks(const std::vector<AudioTrackPtr>& tracks,
                      VLWaveformCacheRendererDelegate* delegate = nullptr);
    ~VLWaveformCacheRenderer();
    VLWaveformCacheRenderer(const VLWaveformCacheRenderer&) = delete;
    VLWaveformCacheRenderer& operator=(const VLWaveformCacheRenderer&) = delete;

    /// Starts the background scan; nothing happens when it was started before, or when there are not as many
    /// summaries as channels.
    void startRender();
    void stopRender() { _stop.store(true, std::memory_order_relaxed); }
    /// Scans on this thread instead, until the end or until the progress is cancelled.
    void run(Progress& progress);

    const std::shared_ptr<const SampleSource>& audioFile() const { return _audioFile; }
    const std::vector<WaveformCache>& caches() const { return _caches; }
    VLWaveformCacheRendererDelegate* delegate() const { return _delegate; }
    void setDelegate(VLWaveformCacheRendererDelegate* delegate) { _delegate = delegate; }

    /// How much of the file was scanned, from 0 to 1. Any thread.
    double progress() const;
    /// True from startRender() until the scan has ended. Any thread.
    bool isRunning() const { return !_dispatchGroup->isIdle(); }

private:
    struct Updates;

    bool canRender() const;
    void scan(Progress* progress);
    void didUpdate(int64_t offset, int64_t length);

    std::shared_ptr<const SampleSource> _audioFile;
    std::vector<WaveformCache> _caches;
    // Relaxed: the flag and the counter carry no other data.
    std::atomic<bool> _stop{false};
    std::atomic<int64_t> mNumFramesDone{0};
    bool mWasStarted = false;
    std::shared_ptr<Updates> mUpdates;
    std::shared_ptr<DispatchGroup> _dispatchGroup;
    DispatchQueue _dispatchQueue;
    VLWaveformCacheRendererDelegate* _delegate;
};

} // namespace velloria
