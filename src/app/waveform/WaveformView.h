#pragma once

#include "app/waveform/WaveformContext.h"

#include <QScrollBar>
#include <QWidget>

namespace velloria
{

class LevelScale;
class MarkerLane;
class OverviewStrip;
class RulerWidget;
class WaveformWidget;

/// Everything that shows the sound of one document: overview, ruler, markers, level scale, tracks and scroll
/// bar, laid out around one WaveformContext. Main thread; does not own the subject.
class WaveformView : public QWidget
{
    Q_OBJECT

public:
    explicit WaveformView(WaveformSubject& subject, QWidget* parent = nullptr);

    WaveformContext& context() { return mContext; }
    WaveformWidget& waveform() { return *mWaveform; }
    OverviewStrip& overview() { return *mOverview; }
    RulerWidget& ruler() { return *mRuler; }
    LevelScale& levelScale() { return *mLevelScale; }
    QScrollBar& scrollBar() { return *mScrollBar; }

protected:
    void changeEvent(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void layOut();
    void updateScrollBar();
    void takeSettings();

    WaveformContext mContext;
    OverviewStrip* mOverview;
    RulerWidget* mRuler;
    MarkerLane* mMarkerLane;
    LevelScale* mLevelScale;
    WaveformWidget* mWaveform;
    QScrollBar* mScrollBar;
    double mScrollUnit = 1; ///< pixels a step of the bar: its range is an int
    bool mIsUpdatingScrollBar = false;
};

} // namespace velloria
