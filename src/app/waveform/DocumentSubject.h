#pragma once

#include "app/waveform/WaveformSubject.h"
#include "controllers/SoundController.h"
#include "display/SampleCloseUp.h"

namespace velloria
{

/// A document as the waveform views see it. Main thread; does not own the controller.
class DocumentSubject : public WaveformSubject
{
public:
    /// Told that the overview of a range of frames can be drawn sharper.
    using Handler = std::function<void(int64_t offset, int64_t numFrames)>;

    DocumentSubject(SoundController& controller, Handler didRead);

    /// Shows another document from now on.
    void setController(SoundController& controller);

    int32_t numTracks() const override;
    int64_t numFrames() const override;
    double sampleRate() const override;
    TrackList tracks() const override;
    FloatBuffer columns(int64_t firstColumn, int64_t numColumns, double framesPerColumn,
                        int32_t track) override;
    FloatBuffer overviewColumns(int64_t numColumns, int32_t track) override;
    SoundSelection selection() const override;
    void setSelection(const SoundSelection& selection) override;
    double cueTime() const override;
    void setCueTime(double seconds) override;
    bool isPlaying() const override;
    MarkerList markers() const override;
    void setMarkerName(const AudioMarkerPtr& marker, const QString& name) override;
    void setMarkerPosition(const AudioMarkerPtr& marker, int64_t position) override;
    void removeMarker(const AudioMarkerPtr& marker) override;
    double nearestZeroCrossing(double within, double to, int32_t track) const override;

private:
    SoundController* mController;
    Handler mDidRead;
    // The controller's close-ups follow what the main view shows.
    std::vector<std::unique_ptr<SampleCloseUp>> mOverviewCloseUps;
};

} // namespace velloria
