#pragma once

#include "display/VLWaveformCacheRenderer.h"

#include <QTimer>
#include <memory>
#include <vector>

namespace velloria
{

/// The background scans of opened files. A scan belongs to the file, not to the document that opened it: a
/// clip that was copied to another document shows the summary that is being filled, and needs the rest of it
/// when the first document is closed. So a scan goes on for as long as somebody still has clips of its file,
/// the clipboard and undo histories included. Main thread.
class WaveformScans : private VLWaveformCacheRendererDelegate
{
public:
    class Observer
    {
    public:
        virtual ~Observer() = default;
        /// The summary of these frames of a file was filled in. Told some times a second, with all that came
        /// since, and once more when the scan has ended.
        virtual void scanDidReach(const SampleSource& file, int64_t firstFrame, int64_t endFrame) = 0;
    };

    /// Those of the program; they end with its application object.
    static WaveformScans& shared();
    ~WaveformScans() override;

    void addObserver(Observer& observer);
    void removeObserver(Observer& observer);

    /// Scans the opened file that these tracks read in place, if it has no summary yet.
    void start(const std::vector<AudioTrackPtr>& tracks);
    /// What happens by itself while events are handled: tells the observers, and ends what is not wanted.
    void update();
    /// False when nothing is scanned at all.
    bool isRunning() const { return !mScans.empty(); }
    /// How much of a file was scanned: 1 when no scan of it runs, less until it has ended.
    double progressOf(const SampleSource& file) const;

private:
    struct Scan {
        std::unique_ptr<VLWaveformCacheRenderer> renderer;
        int64_t numTold = 0;
        int64_t numScanned = 0;
        const SampleSource& file() const { return *renderer->audioFile(); }
        bool isWanted() const;
    };

    WaveformScans();
    void rendererDidUpdate(VLWaveformCacheRenderer& renderer, int64_t offset, int64_t length) override;
    void tell(Scan& scan, int64_t end);

    std::vector<Scan> mScans;
    std::vector<Observer*> mObservers;
    QTimer mTimer;
};

} // namespace velloria
