#include "app/effects/EffectMeters.h"

#include "app/effects/GainReductionView.h"
#include "app/transport/StereoMeter.h"
#include "app/transport/VLLevelMeterView.h"

#include <QCoreApplication>
#include <QGridLayout>
#include <QLabel>
#include <QLocale>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kTickMilliseconds = 33;
constexpr int kGroupSpacing = 4;
/// Less is shown as none.
constexpr double kLeastDB = 0.05;

double decibelsOf(float amplitude)
{
    return 20.0 * std::log10(static_cast<double>(amplitude));
}

void setLevels(StereoMeter& meter, const PeakHolder::Peaks& peaks)
{
    meter.setLevels(decibelsOf(peaks.leftPeak), decibelsOf(peaks.rightPeak));
}

} // namespace

EffectMeters::EffectMeters(Source source, QWidget* parent)
    : QWidget(parent)
    , mSource(std::move(source))
    //% "Level before the effect, left"
    , mInput(new StereoMeter(qtTrId("effect-input-meter-left"),
                             //% "Level before the effect, right"
                             qtTrId("effect-input-meter-right"), this))
    //% "Level behind the effect, left"
    , mOutput(new StereoMeter(qtTrId("effect-output-meter-left"),
                              //% "Level behind the effect, right"
                              qtTrId("effect-output-meter-right"), this))
    , mReduction(new GainReductionView(this))
    , mReductionText(new QLabel(this))
{
    auto* const layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setHorizontalSpacing(12);
    layout->setVerticalSpacing(4);
    const auto addCaption = [&](const QString& text, int row, int column) {
        auto* const caption = new QLabel(text, this);
        caption->setForegroundRole(QPalette::PlaceholderText);
        layout->addWidget(caption, row, column);
    };
    //: Caption of a level meter in the dialog of an effect
    //% "Input"
    addCaption(qtTrId("effect-meter-input"), 0, 0);
    //: Caption of a level meter in the dialog of an effect
    //% "Output"
    addCaption(qtTrId("effect-meter-output"), 0, 2);
    layout->addWidget(mInput, 1, 0);
    layout->addWidget(mOutput, 1, 2);
    layout->setColumnStretch(1, 1);
    //: Caption of a meter that shows by how many dB an effect lowers the gain
    //% "Gain reduction"
    const QString reduction = qtTrId("effect-meter-gain-reduction");
    // Its caption belongs to what is below it, not to the scales above.
    layout->setRowMinimumHeight(2, kGroupSpacing);
    addCaption(reduction, 3, 0);
    mReduction->setAccessibleName(reduction);
    mReductionText->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    layout->addWidget(mReductionText, 3, 2);
    layout->addWidget(mReduction, 4, 0, 1, 3);
    showLevels({});
}

void EffectMeters::setRunning(bool isRunning)
{
    if (isRunning == mTimer.isActive())
        return;
    if (isRunning) {
        mTimer.start(kTickMilliseconds, this);
        return;
    }
    mTimer.stop();
    mReduction->reset();
    showLevels({});
}

void EffectMeters::timerEvent(QTimerEvent*)
{
    // Where nothing new is heard yet the meters stay as they are.
    if (const std::optional<PreviewLevels> levels = mSource())
        showLevels(*levels);
}

void EffectMeters::showLevels(const PreviewLevels& levels)
{
    setLevels(*mInput, levels.input);
    setLevels(*mOutput, levels.output);
    mReduction->setReduction(-decibelsOf(levels.lowestGain));
    const double shown = mReduction->reduction();
    const QString number = QLocale().toString(shown < kLeastDB ? 0.0 : shown, 'f', 1);
    mReductionText->setText(number + QChar(0x202f) + QStringLiteral("dB"));
    mReduction->setAccessibleDescription(mReductionText->text());
}

} // namespace velloria
