#include "app/effects/PreviewControls.h"

#include "app/look/ThemedIcon.h"
#include "app/preferences/Settings.h"
#include "platform/UserDefaults.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace velloria
{

PreviewControls::PreviewControls(Filter& filter, QWidget* parent)
    : QWidget(parent)
    , mPreview(filter,
               [this](StopReason reason) {
                   updateButton();
                   //% "The output device went away."
                   showMessage(reason == StopReason::requested ? QString() : qtTrId("preview-device-lost"));
               })
    //% "&Preview"
    , mButton(new QPushButton(qtTrId("preview-play"), this))
    //% "&Bypass"
    , mBypass(new QPushButton(qtTrId("preview-bypass"), this))
    //% "L&oop"
    , mLoop(new QCheckBox(qtTrId("preview-loop"), this))
    , mMessage(new QLabel(this))
{
    for (QPushButton* const button : {mButton, mBypass}) {
        button->setCheckable(true);
        button->setAutoDefault(false);
    }
    //% "Hear the sound without the effect, as loud as with it (Ctrl+B)"
    mBypass->setToolTip(qtTrId("preview-bypass-tip"));
    //% "Hear the selection with the effect (Ctrl+Space)"
    mButton->setToolTip(qtTrId("preview-tip"));
    mMessage->setWordWrap(true);
    mMessage->hide();
    auto* const row = new QHBoxLayout;
    row->addWidget(mButton);
    row->addWidget(mBypass);
    row->addSpacing(6);
    row->addWidget(mLoop);
    row->addStretch(1);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(row);
    layout->addWidget(mMessage);

    mLoop->setChecked(UserDefaults::standard().integerValue(Settings::previewLoops) != 0);
    mPreview.setLooping(mLoop->isChecked());
    connect(mButton, &QPushButton::clicked, this, &PreviewControls::playOrStop);
    connect(mBypass, &QPushButton::toggled, this, [this](bool isOn) { mPreview.setBypassed(isOn); });
    connect(mLoop, &QCheckBox::toggled, this, [this](bool isOn) { mPreview.setLooping(isOn); });
    connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_B), this), &QShortcut::activated, mBypass,
            &QPushButton::toggle);
    connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Space), this), &QShortcut::activated, mButton,
            &QPushButton::click);
    updateButton();
}

PreviewControls::~PreviewControls()
{
    UserDefaults::standard().setValue(Settings::previewLoops, mLoop->isChecked() ? 1 : 0);
}

void PreviewControls::playOrStop(bool plays)
{
    MaybeError error;
    if (plays) {
        Q_EMIT willPlay();
        error = mPreview.start();
    } else {
        mPreview.stop();
    }
    showMessage(error && !error->isUserCancelled() ? error->message : QString());
    updateButton();
}

void PreviewControls::showMessage(const QString& message)
{
    mMessage->setText(message);
    mMessage->setVisible(!message.isEmpty());
}

QString PreviewControls::message() const
{
    return mMessage->text();
}

void PreviewControls::updateButton()
{
    const bool isPlaying = mPreview.isRunning();
    if (isPlaying != (mDeviceWatch != nullptr))
        mDeviceWatch = isPlaying
                           ? std::make_unique<OutputDeviceWatch>([this] { mPreview.moveToSelectedDevice(); })
                           : nullptr;
    Q_EMIT playingChanged(isPlaying);
    mButton->setChecked(isPlaying);
    mButton->setIcon(
        ThemedIcon::named(isPlaying ? QStringLiteral("toolbar-play-on") : QStringLiteral("toolbar-play")));
}

} // namespace velloria
