#pragma once

#include "controllers/SoundControllerHost.h"
#include "display/SampleCloseUp.h"
#include "display/VLWaveformCacheRenderer.h"
#include "document/SoundDocument.h"

#include <memory>
#include <vector>

namespace velloria
{

/// What the views ask of a document's sound: its picture, filled in in the background after opening, and
/// where it crosses zero. Main thread.
class DisplayController : private VLWaveformCacheRendererDelegate
{
public:
    DisplayController(SoundDocument& document, SoundControllerHost& host)
        : mDocument(document)
        , mHost(host)
    {
    }

    /// (min, max) pairs, one a column of `stride` seconds; nothing outside the document. Columns finer than
    /// the summaries show the samples themselves; those are read in the background, and until they are there
    /// (the host's setNeedsDisplayWithFrameOffset() tells) the summaries stand for them.
    FloatBuffer minMaxDataFrom(double startTime, double endTime, double stride, int32_t track) const;
    /// What is shown of single samples is read anew.
    void forgetCloseUps() { mCloseUps.clear(); }

    /// The time in a track that lies nearest to `time` (seconds) among those where the sign changes, at most
    /// `halfWidth` away; `time` where there is none.
    double nearestZeroCrossingWithin(double halfWidth, double time, int32_t track) const;

    /// Scans the opened file for the summary in the background, if it has none yet.
    void startWaveformRender();
    void stopWaveformRender() { mRenderer.reset(); }
    /// From 0 to 1; 1 when no scan runs.
    double waveformRenderProgress() const;
    /// Waits for the scan, or, where none runs, makes it, with a progress face. False when the person
    /// cancelled.
    bool completeWaveform();

private:
    void rendererDidUpdate(VLWaveformCacheRenderer& renderer, int64_t offset, int64_t length) override;
    SampleCloseUp& closeUpOfTrack(int32_t track) const;

    SoundDocument& mDocument;
    SoundControllerHost& mHost;
    mutable std::vector<std::unique_ptr<SampleCloseUp>> mCloseUps;
    std::unique_ptr<VLWaveformCacheRenderer> mRenderer;
};

} // namespace velloria
