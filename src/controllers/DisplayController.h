#pragma once

#include "controllers/SoundControllerHost.h"
#include "display/SampleCloseUp.h"
#include "display/WaveformScans.h"
#include "document/SoundDocument.h"

#include <memory>
#include <vector>

namespace velloria
{

/// What the views ask of a document's sound: its picture, filled in in the background after opening, and
/// where it crosses zero. Main thread.
class DisplayController : private WaveformScans::Observer
{
public:
    DisplayController(SoundDocument& document, SoundControllerHost& host);
    ~DisplayController() override;

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
    /// From 0 to 1; 1 when no file that sound of this document lies in is scanned, be it opened here or
    /// pasted from elsewhere.
    double waveformRenderProgress() const;
    /// Waits for the scans, or, where none runs, makes that of the opened file, with a progress face. False
    /// when the person cancelled.
    bool completeWaveform();

private:
    void scanDidReach(const SampleSource& file, int64_t firstFrame, int64_t endFrame) override;
    const std::vector<const SampleSource*>& filesOfTracks() const;
    SampleCloseUp& closeUpOfTrack(int32_t track) const;

    SoundDocument& mDocument;
    SoundControllerHost& mHost;
    mutable std::vector<std::unique_ptr<SampleCloseUp>> mCloseUps;
    // The files that these tracks read, found once for each list: it never changes.
    mutable TrackList mTracksOfFiles;
    mutable std::vector<const SampleSource*> mFilesOfTracks;
};

} // namespace velloria
