#pragma once

#include <QList>
#include <QWidget>

class QAction;
class QHBoxLayout;
class QLabel;
class QMenu;
class QToolButton;

namespace velloria
{

class LoudnessView;
class OutputLevelSlider;
class StereoMeter;
class TimeReadout;
class WaveformContext;

/// The bar under the waveform: buttons, the cue's time, speed, output level and its meters. Everything that
/// it does are actions of the Transport menu. Main thread.
class TransportBar : public QWidget
{
    Q_OBJECT

public:
    TransportBar(const QList<QAction*>& buttons, QMenu& speeds, WaveformContext& context,
                 QWidget* parent = nullptr);

    /// A further button behind those of playing.
    QToolButton* addButton(QAction& action);
    /// Something further at the right end.
    void addMeters(QWidget& meters);

    /// 1 is normal.
    void showSpeed(double speed);
    void showOutputLevel(double decibels);

    TimeReadout& readout() { return *mReadout; }
    StereoMeter& outputMeters() { return *mMeters; }
    /// Hidden until it is wanted.
    LoudnessView& loudness() { return *mLoudness; }
    OutputLevelSlider& levelSlider() { return *mSlider; }
    QString outputLevelText() const;
    QString speedText() const;

private:
    void addButtons(const QList<QAction*>& buttons);
    void addSpeed(QMenu& speeds);
    void addLevel();

    QHBoxLayout* mLayout;
    QHBoxLayout* mButtons;
    TimeReadout* mReadout;
    StereoMeter* mMeters;
    LoudnessView* mLoudness;
    OutputLevelSlider* mSlider;
    QLabel* mLevelText;
    QToolButton* mSpeed;
};

} // namespace velloria
