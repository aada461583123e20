#include "app/recording/InputLevelsWindow.h"

#include "Classes/CoreAudio/AudioPreferences.h"
#include "app/transport/VLLevelMeterView.h"
#include "controllers/InputLevelsController.h"
#include "platform/UserDefaults.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QVBoxLayout>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kGainSteps = 100;
constexpr int kMeterWidth = 300;

QPointer<InputLevelsWindow>& openWindow()
{
    static QPointer<InputLevelsWindow> window;
    return window;
}

} // namespace

InputLevelsWindow* InputLevelsWindow::showOne(QWidget* parent)
{
    QPointer<InputLevelsWindow>& window = openWindow();
    if (!window)
        window = new InputLevelsWindow(parent);
    window->show();
    window->raise();
    window->activateWindow();
    return window;
}

InputLevelsWindow::InputLevelsWindow(QWidget* parent)
    : QDialog(parent)
    , mLevels(InputLevelsController::inputLevelsController())
    , mDevice(new QComboBox(this))
    , mLeftChannel(new QComboBox(this))
    , mRightChannel(new QComboBox(this))
    , mGain(new QSlider(Qt::Horizontal, this))
    //% "Measure the input"
    , mMonitor(new QCheckBox(qtTrId("levels-monitor"), this))
    //% "Hear the input"
    , mPlaythrough(new QCheckBox(qtTrId("levels-playthrough"), this))
    , mProblem(new QLabel(this))
{
    setAttribute(Qt::WA_DeleteOnClose);
    //% "Input Levels"
    setWindowTitle(qtTrId("levels-title"));
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(22, 18, 22, 18);
    layout->setSpacing(16);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    auto* const grid = new QGridLayout;
    addMeters(*grid);
    layout->addLayout(grid);
    mProblem->setWordWrap(true);
    mProblem->setForegroundRole(QPalette::PlaceholderText);
    layout->addWidget(mProblem);
    auto* const form = new QFormLayout;
    form->setLabelAlignment(Qt::AlignRight);
    form->setHorizontalSpacing(14);
    form->setVerticalSpacing(9);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    addInput(*form);
    layout->addLayout(form);
    connectInput();
    mLevels.setObserver([this] { showLevels(); });
    mLevels.setMetersActive(true);
    mLevels.updatePlaythroughState();
    showDevices();
    showLevels();
}

InputLevelsWindow::~InputLevelsWindow()
{
    for (const int token : mTokens)
        NotificationCenter::standard().removeObserver(token);
    mLevels.setObserver({});
    mLevels.setMetersActive(false);
}

InputLevelsWindow::SideView InputLevelsWindow::addSide(QGridLayout& grid, const QString& title)
{
    SideView side;
    side.meter = new VLLevelMeterView(title, this);
    side.meter->setFixedWidth(kMeterWidth);
    side.level = new QLabel(this);
    side.hold = new QLabel(this);
    side.clip = new QPushButton(this);
    side.clip->setAutoDefault(false);
    //% "The highest level so far; click to forget it"
    side.clip->setToolTip(qtTrId("levels-clip-tip"));
    const int numberWidth = fontMetrics().horizontalAdvance(QStringLiteral("-00.0")) + 4;
    for (QLabel* const label : {side.level, side.hold}) {
        label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        label->setFixedWidth(numberWidth);
    }
    side.hold->setForegroundRole(QPalette::PlaceholderText);
    side.clip->setFixedWidth(numberWidth + 24);
    const int row = grid.rowCount();
    grid.addWidget(new QLabel(title, this), row, 0, Qt::AlignRight);
    grid.addWidget(side.meter, row, 1);
    grid.addWidget(side.level, row, 2);
    grid.addWidget(side.hold, row, 3);
    grid.addWidget(side.clip, row, 4);
    return side;
}

void InputLevelsWindow::addMeters(QGridLayout& grid)
{
    grid.setHorizontalSpacing(10);
    grid.setVerticalSpacing(8);
    //% "Left"
    mLeft = addSide(grid, qtTrId("levels-left"));
    //% "Right"
    mRight = addSide(grid, qtTrId("levels-right"));
    connect(mLeft.clip, &QPushButton::clicked, this, [this] { mLevels.resetLeftClip(); });
    connect(mRight.clip, &QPushButton::clicked, this, [this] { mLevels.resetRightClip(); });
    for (const SideView& side : {mLeft, mRight})
        connect(side.meter, &VLLevelMeterView::clipIndicatorClicked, this,
                [this] { mLevels.resetAllClippingIndicators(); });
}

void InputLevelsWindow::addInput(QFormLayout& form)
{
    //% "Device:"
    form.addRow(qtTrId("levels-device"), mDevice);
    auto* const channels = new QHBoxLayout;
    channels->setSpacing(10);
    channels->addWidget(mLeftChannel, 1);
    channels->addWidget(mRightChannel, 1);
    //% "Left and right:"
    form.addRow(qtTrId("levels-channels"), channels);
    mGain->setRange(0, kGainSteps);
    //% "Gain:"
    form.addRow(qtTrId("levels-gain"), mGain);
    mGain->setAccessibleName(qtTrId("levels-gain"));
    mLeftChannel->setAccessibleName(qtTrId("levels-left"));
    mRightChannel->setAccessibleName(qtTrId("levels-right"));
    form.addRow(QString(), mMonitor);
    form.addRow(QString(), mPlaythrough);
    //% "Beware of feedback where a microphone hears the loudspeakers."
    mPlaythrough->setToolTip(qtTrId("levels-playthrough-tip"));
}

void InputLevelsWindow::connectInput()
{
    connect(mDevice, &QComboBox::activated, this,
            [this] { mLevels.selectInputDevice(mDevice->currentData().toString()); });
    for (QComboBox* const channel : {mLeftChannel, mRightChannel})
        connect(channel, &QComboBox::activated, this, &InputLevelsWindow::takeChannels);
    connect(mGain, &QSlider::valueChanged, this,
            [this](int value) { mLevels.setInputGain(static_cast<float>(value) / kGainSteps); });
    connect(mMonitor, &QCheckBox::clicked, this, [this](bool isOn) { mLevels.setMetersActive(isOn); });
    connect(mPlaythrough, &QCheckBox::clicked, this, [this](bool isOn) { mLevels.setPlaythrough(isOn); });
    for (const QString& name :
         {AudioNotification::inputDeviceDidChange(), AudioNotification::inputGainDidChange()})
        mTokens.push_back(
            NotificationCenter::standard().addObserver(name, [this](const void*) { showDevices(); }));
}

void InputLevelsWindow::fillDevices()
{
    const QSignalBlocker blocker(mDevice);
    mDevice->clear();
    const VLAudioObject usual = VLAudioObject::defaultInputDevice();
    //: %1 is the name of a device
    //% "Default (%1)"
    const QString named = qtTrId("levels-default").arg(usual.audioObjectID() ? usual.name() : QString());
    //% "No input device"
    mDevice->addItem(usual.audioObjectID() ? named : qtTrId("levels-no-device"), QString());
    for (const VLAudioObject& device : VLAudioObject::availableDevices())
        if (device.hasInputStreams())
            mDevice->addItem(device.name(), device.UID());
    const QString chosen = UserDefaults::standard().stringValue(AudioPreference::inputDevice());
    mDevice->setCurrentIndex(std::max(0, chosen.isEmpty() ? 0 : mDevice->findData(chosen)));
}

void InputLevelsWindow::fillChannels()
{
    const VLAudioObject device = mLevels.selectedAudioInputDevice();
    const int count = device.audioObjectID() == 0
                          ? 0
                          : static_cast<int>(device.numberOfChannelsAvailableForScope(HardwareCode::kInput));
    const auto fill = [count](QComboBox& box, const QString& key, int usual) {
        const QSignalBlocker blocker(&box);
        box.clear();
        for (int channel = 0; channel < count; ++channel)
            //: A channel of a device; %1 is a number
            //% "Channel %1"
            box.addItem(qtTrId("levels-channel").arg(channel + 1));
        const int chosen = UserDefaults::standard().integerValue(key);
        box.setCurrentIndex(chosen >= 0 && chosen < count ? chosen : std::min(usual, count - 1));
        box.setEnabled(count > 1);
    };
    fill(*mLeftChannel, AudioPreference::inputLeftChannel(), 0);
    fill(*mRightChannel, AudioPreference::inputRightChannel(), 1);
}

void InputLevelsWindow::takeChannels()
{
    mLevels.selectInputChannels(mLeftChannel->currentIndex(), mRightChannel->currentIndex());
}

void InputLevelsWindow::showDevices()
{
    fillDevices();
    fillChannels();
    const QSignalBlocker blocker(mGain);
    mGain->setEnabled(mLevels.isInputGainSettable());
    mGain->setValue(static_cast<int>(std::lround(mLevels.inputGain() * kGainSteps)));
}

void InputLevelsWindow::showLevels()
{
    const auto show = [](const SideView& view, const InputLevelsController::Side& side) {
        view.meter->setLevelValue(side.level);
        view.level->setText(InputLevelsController::stringFromDecibelValue(side.level));
        view.hold->setText(InputLevelsController::stringFromDecibelValue(side.peakHold));
        view.clip->setText(InputLevelsController::stringFromDecibelValue(side.clipPeak));
        view.clip->setEnabled(side.clipPeak > InputLevelsController::kNoLevelDB);
        if (side.clipPeak < 0.0)
            view.meter->setClipIndicatorHidden(true);
    };
    show(mLeft, mLevels.left());
    show(mRight, mLevels.right());
    mMonitor->setChecked(mLevels.metersActive());
    mPlaythrough->setChecked(mLevels.isPlaythroughOn());
    QString problem;
    if (mLevels.hasLostOutput())
        //% "The output went away, so the input is not heard any more."
        problem = qtTrId("levels-output-lost");
    else if (const MaybeError& error = mLevels.monitorError())
        problem = error->message;
    mProblem->setText(problem);
    mProblem->setVisible(!problem.isEmpty());
}

} // namespace velloria
