#pragma once

#include "app/look/Theme.h"
#include "app/waveform/WaveformSubject.h"
#include "display/TimeSnapper.h"
#include "display/VLHorizontalRulerLayer.h"
#include "display/WaveformViewGeometry.h"
#include "display/WaveformViewObserver.h"
#include "display/ZoomCommands.h"
#include "measurement/SpectrogramColumns.h"

#include <QObject>

namespace velloria
{

/// What the widgets of one waveform view share: the sound, the zoom and scroll position, the ruler's layout,
/// snapping and colours. Widgets draw from here and hear from here what to draw anew. Main thread.
class WaveformContext : public QObject, private WaveformViewObserver
{
    Q_OBJECT

public:
    explicit WaveformContext(WaveformSubject& subject, QObject* parent = nullptr);
    ~WaveformContext() override;

    WaveformSubject& subject() { return mSubject; }
    const WaveformSubject& subject() const { return mSubject; }
    WaveformViewGeometry& geometry() { return mGeometry; }
    const WaveformViewGeometry& geometry() const { return mGeometry; }
    ZoomCommands& zoomCommands() { return mZoomCommands; }
    const VLHorizontalRulerLayer& ruler() const { return mRuler; }
    const Theme& theme() const { return mTheme; }
    void setTheme(const Theme& theme);

    /// As last told by the subject.
    const SoundSelection& selection() const { return mSelection; }
    double cueTime() const { return mCueTime; }

    /// A time the mouse points at, moved to a marker, grid line or zero crossing near it if the settings say
    /// so, and within the document.
    double snappedTime(double time, int32_t track) const;
    double clampedTime(double time) const;
    /// The same for a marker that is dragged: it does not snap to where it was.
    double snappedMarkerTime(double time, const AudioMarkerPtr& marker) const;

    /// The end of the selection that stays put when it is extended.
    double selectionAnchor() const;
    void setSelectionAnchor(double time) { mAnchor = time; }
    /// Selects from the anchor to a time, on the tracks selected now (all, when none are).
    void extendSelectionTo(double time);
    /// Puts the cue at a time and empties the selection there.
    void placeCue(double time);
    /// The same, and brings it into view.
    void goTo(double time);

    /// The view was resized. A view that showed the whole document goes on doing so.
    void setViewWidth(double width);
    bool isFitted() const;
    /// The zoom of the preference "defaultZoom".
    void zoomToDefault();

    // Told by the owner of the subject.
    void documentDidReload();
    /// Only at its end, or where something is being recorded.
    void documentDidGrow();
    void selectionDidChange();
    void cueDidChange();
    void markersDidChange();
    void framesDidChange(int64_t offset, int64_t length);
    /// Reads ruler units, snapping and scale from the preferences.
    void reloadSettings();

    bool showsDecibels() const { return mShowsDecibels; }
    /// Instead of the waveform.
    bool showsSpectrogram() const { return mShowsSpectrogram; }
    FrequencyAxis frequencyAxis() const { return {mSubject.sampleRate(), !mSpectrogramIsLinear}; }

Q_SIGNALS:
    void viewChanged();
    void selectionChanged(const velloria::SoundSelection& before);
    void cueChanged(double before);
    void markersChanged();
    void framesChanged(qint64 offset, qint64 length);
    void documentReloaded();
    void settingsChanged();
    void themeChanged();

private:
    void scrolled(WaveformViewGeometry& view) override;
    void didSetZoom(WaveformViewGeometry& view, double anchorX) override;
    void updateGeometry();

    WaveformSubject& mSubject;
    WaveformViewGeometry mGeometry;
    ZoomCommands mZoomCommands;
    TimeSnapper mSnapper;
    VLHorizontalRulerLayer mRuler;
    Theme mTheme;
    SoundSelection mSelection;
    double mCueTime = 0;
    double mAnchor = 0;
    bool mShowsDecibels = true;
    bool mShowsSpectrogram = false;
    bool mSpectrogramIsLinear = false;
};

} // namespace velloria
