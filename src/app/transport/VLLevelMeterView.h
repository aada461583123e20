#pragma once

#include <QBasicTimer>
#include <QWidget>
#include <functional>

namespace velloria
{

/// The level of one channel as a horizontal bar, linear in dB from -60 to 0: it rises at once and falls more
/// slowly, holds its peak for two seconds, and has a light that stays on once the level reached 0 dB, until
/// it is clicked. Runs a timer only while something moves. Main thread.
class VLLevelMeterView : public QWidget
{
    Q_OBJECT

public:
    static constexpr double kFloorDB = -60.0;
    static constexpr double kNoPeakDB = -100.0;

    /// `name` says whose level it is, to those who do not see the bar.
    explicit VLLevelMeterView(const QString& name, QWidget* parent = nullptr);

    /// In dB.
    double levelValue() const { return _levelValue; }
    void setLevelValue(double decibels);
    /// What the peak mark shows; kNoPeakDB without one.
    double peakValue() const { return _peakValue; }
    void resetPeak();
    bool isClipIndicatorHidden() const { return _isClipIndicatorHidden; }
    void setClipIndicatorHidden(bool isHidden);
    /// Pixels from the left end of the bar.
    double xPositionForValue(double decibels) const;
    /// Where the end of the bar is on its way to the level, in dB.
    double shownValue() const;

    /// For tests: what tells the seconds.
    void setClock(std::function<double()> clock) { mClock = std::move(clock); }
    /// Takes what the clock says; false when nothing moves any more.
    bool advance();

    QSize sizeHint() const override { return {170, kHeight}; }
    QSize minimumSizeHint() const override { return {60, kHeight}; }

    static constexpr int kHeight = 8;
    /// Room that the clip light takes at the right.
    static constexpr int kClipRoom = 12;

Q_SIGNALS:
    void clipIndicatorClicked();

protected:
    void paintEvent(QPaintEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    void run();

    std::function<double()> mClock;
    QBasicTimer mTimer;
    double _levelValue = kFloorDB;
    double _peakValue = kNoPeakDB;
    bool _isClipIndicatorHidden = true;
    bool mIsMoving = false;
    double mFrom = kFloorDB; ///< what was shown when the level was set
    double mSetTime = 0.0;
    double mMoveSeconds = 0.0;
    double mPeakTime = 0.0;
};

} // namespace velloria
