#include "app/recovery/SoundPlayer.h"

#include "app/look/ThemedIcon.h"
#include "app/recovery/LengthText.h"
#include "document/DocumentTransport.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QSlider>
#include <QToolButton>

namespace velloria
{

namespace
{

constexpr int kStepsPerSecond = 10;
constexpr int kTickMilliseconds = 40;
constexpr int kIconSize = 20;

} // namespace

SoundPlayer::SoundPlayer(QWidget* parent)
    : QWidget(parent)
    , mButton(new QToolButton(this))
    , mSlider(new QSlider(Qt::Horizontal, this))
    , mTime(new QLabel(this))
{
    mButton->setAutoRaise(true);
    mButton->setIconSize(QSize(kIconSize, kIconSize));
    //% "Place in the sound"
    mSlider->setAccessibleName(qtTrId("recovery-place"));
    mSlider->setPageStep(10 * kStepsPerSecond);
    mSlider->setSingleStep(kStepsPerSecond);
    mTime->setTextFormat(Qt::PlainText);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(mButton);
    layout->addWidget(mSlider, 1);
    layout->addWidget(mTime);
    connect(mButton, &QToolButton::clicked, this, &SoundPlayer::toggle);
    connect(mSlider, &QSlider::valueChanged, this,
            [this](int value) { moveTo(static_cast<double>(value) / kStepsPerSecond); });
    connect(&mTimer, &QTimer::timeout, this, &SoundPlayer::follow);
    showState();
}

SoundPlayer::~SoundPlayer() = default;

void SoundPlayer::setSound(const LeftOverSound* sound)
{
    if (sound && mSound && sound->files == mSound->files)
        return;
    stop();
    mDocument.reset();
    mSound.reset();
    if (sound)
        mSound = *sound;
    const QSignalBlocker blocker(mSlider);
    mSlider->setRange(0, mSound ? static_cast<int>(mSound->totalTime() * kStepsPerSecond) : 0);
    mSlider->setValue(0);
    showState();
}

bool SoundPlayer::isPlaying() const
{
    return mTimer.isActive();
}

double SoundPlayer::position() const
{
    return static_cast<double>(mSlider->value()) / kStepsPerSecond;
}

void SoundPlayer::toggle()
{
    if (isPlaying())
        stop();
    else
        play();
}

void SoundPlayer::stop()
{
    mTimer.stop();
    if (mDocument)
        mDocument->transport().stopSound();
    showState();
}

void SoundPlayer::play()
{
    if (!mSound)
        return;
    MaybeError error;
    if (!mDocument)
        mDocument = LeftOverSounds::read(*mSound, &error);
    if (mSlider->value() >= mSlider->maximum())
        mSlider->setValue(0);
    if (mDocument)
        error = mDocument->transport().playSelection(
            {0.0, mDocument->totalTime(), 0, mDocument->trackCount()}, position());
    if (error)
        Q_EMIT failed(error->message);
    else if (mDocument)
        mTimer.start(kTickMilliseconds);
    showState();
}

void SoundPlayer::moveTo(double seconds)
{
    if (isPlaying())
        mDocument->transport().playSelection({0.0, mDocument->totalTime(), 0, mDocument->trackCount()},
                                             seconds);
    showState();
}

void SoundPlayer::follow()
{
    if (!mDocument->transport().isPlaying()) {
        stop();
        return;
    }
    const double time = mDocument->transport().cueTime();
    if (time >= 0.0 && !mSlider->isSliderDown()) {
        const QSignalBlocker blocker(mSlider);
        mSlider->setValue(static_cast<int>(time * kStepsPerSecond));
    }
    showState();
}

void SoundPlayer::showState()
{
    setEnabled(mSound.has_value());
    mButton->setIcon(
        ThemedIcon::named(isPlaying() ? QStringLiteral("toolbar-pause") : QStringLiteral("toolbar-play")));
    //% "Pause (Space)"
    const QString pauseText = qtTrId("recovery-pause");
    //% "Play (Space)"
    mButton->setToolTip(isPlaying() ? pauseText : qtTrId("recovery-play"));
    mButton->setAccessibleName(mButton->toolTip());
    const QString total = lengthText(mSound ? mSound->totalTime() : 0.0);
    mTime->setText(QStringLiteral("%1 / %2").arg(lengthText(position()), total));
}

} // namespace velloria
