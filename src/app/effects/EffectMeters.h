#pragma once

#include "effects/frame/PreviewLevels.h"

#include <QBasicTimer>
#include <QWidget>
#include <functional>

class QLabel;

namespace velloria
{

class GainReductionView;
class StereoMeter;

/// What is heard of an effect that lowers the gain: the level before it, the level behind it, and by how much
/// the gain is lowered. Looks at them 30 times a second while the effect is played. Main thread.
class EffectMeters : public QWidget
{
    Q_OBJECT

public:
    /// Levels since they were last asked for; nothing where there are none.
    using Source = std::function<std::optional<PreviewLevels>()>;

    explicit EffectMeters(Source source, QWidget* parent = nullptr);

    /// Whether the effect is played. Without it nothing moves, and the bars are empty.
    void setRunning(bool isRunning);

    StereoMeter& input() { return *mInput; }
    StereoMeter& output() { return *mOutput; }
    GainReductionView& gainReduction() { return *mReduction; }

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    void showLevels(const PreviewLevels& levels);

    Source mSource;
    QBasicTimer mTimer;
    StereoMeter* mInput;
    StereoMeter* mOutput;
    GainReductionView* mReduction;
    QLabel* mReductionText;
};

} // namespace velloria
