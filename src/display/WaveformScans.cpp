#include "display/WaveformScans.h"

#include <QCoreApplication>
#include <QPointer>
#include <algorithm>

namespace velloria
{

namespace
{

// A short file is shown at once; after that a walk over the clips of a long document is worth its time.
constexpr int kFirstMilliseconds = 5;
constexpr int kMostMilliseconds = 40;
constexpr double kMostWhileRunning = 0.999; ///< the last entry is made at the very end

} // namespace

WaveformScans::WaveformScans()
{
    mTimer.setSingleShot(true);
    QObject::connect(&mTimer, &QTimer::timeout, &mTimer, [this] { update(); });
}

WaveformScans::~WaveformScans() = default;

WaveformScans& WaveformScans::shared()
{
    static std::unique_ptr<WaveformScans> scans;
    if (!scans) {
        scans.reset(new WaveformScans);
        // Timers and messages must not outlive the event loop that they belong to.
        if (QCoreApplication* const application = QCoreApplication::instance())
            QObject::connect(application, &QObject::destroyed, [] { scans.reset(); });
    }
    return *scans;
}

void WaveformScans::addObserver(Observer& observer)
{
    mObservers.push_back(&observer);
}

void WaveformScans::removeObserver(Observer& observer)
{
    std::erase(mObservers, &observer);
}

void WaveformScans::start(const std::vector<AudioTrackPtr>& tracks)
{
    std::unique_ptr<VLWaveformCacheRenderer> renderer =
        VLWaveformCacheRenderer::rendererForTracks(tracks, this);
    // One that has only just begun looks as if nobody had.
    if (!renderer || progressOf(*renderer->audioFile()) < 1.0)
        return;
    renderer->startRender();
    mScans.push_back({std::move(renderer)});
    mTimer.start(kFirstMilliseconds);
}

double WaveformScans::progressOf(const SampleSource& file) const
{
    const auto scan = std::find_if(mScans.begin(), mScans.end(),
                                   [&file](const Scan& running) { return &running.file() == &file; });
    return scan == mScans.end() ? 1.0 : std::min(scan->renderer->progress(), kMostWhileRunning);
}

bool WaveformScans::Scan::isWanted() const
{
    // The renderer has one reference itself; clips, documents and the clipboard have the others.
    return renderer->audioFile().use_count() > 1;
}

void WaveformScans::rendererDidUpdate(VLWaveformCacheRenderer& renderer, int64_t offset, int64_t length)
{
    for (Scan& scan : mScans)
        if (scan.renderer.get() == &renderer)
            scan.numScanned = std::max(scan.numScanned, offset + length);
}

void WaveformScans::update()
{
    std::vector<Scan> ended;
    for (auto scan = mScans.begin(); scan != mScans.end();) {
        const bool isOver = !scan->renderer->isRunning();
        if (!isOver)
            tell(*scan, scan->numScanned);
        if (isOver || !scan->isWanted()) {
            ended.push_back(std::move(*scan));
            scan = mScans.erase(scan);
        } else {
            ++scan;
        }
    }
    for (Scan& scan : ended)
        tell(scan, scan.file().numberOfFrames());
    if (!mScans.empty())
        mTimer.start(std::min(2 * mTimer.interval(), kMostMilliseconds));
}

void WaveformScans::tell(Scan& scan, int64_t end)
{
    if (end <= scan.numTold)
        return;
    const int64_t first = std::exchange(scan.numTold, end);
    for (Observer* const observer : std::vector<Observer*>(mObservers))
        observer->scanDidReach(scan.file(), first, end);
}

} // namespace velloria
