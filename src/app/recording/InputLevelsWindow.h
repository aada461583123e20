#pragma once

#include <QDialog>

class QCheckBox;
class QComboBox;
class QFormLayout;
class QGridLayout;
class QLabel;
class QPushButton;
class QSlider;

namespace velloria
{

class InputLevelsController;
class StereoMeter;
class VLLevelMeterView;

/// The levels of the input, with its device, channels, gain and playthrough. One for the whole program; the
/// meters run while it is open.
class InputLevelsWindow : public QDialog
{
    Q_OBJECT

public:
    /// The present one, brought to the front, or a new one.
    static InputLevelsWindow* showOne(QWidget* parent);
    ~InputLevelsWindow() override;

private:
    /// One side of the input.
    struct SideView {
        VLLevelMeterView* meter = nullptr;
        QLabel* level = nullptr;
        QLabel* hold = nullptr;
        QPushButton* clip = nullptr;
    };

    explicit InputLevelsWindow(QWidget* parent);
    void addMeters(QGridLayout& grid);
    SideView addSide(QGridLayout& grid, const QString& title);
    void addInput(QFormLayout& form);
    void connectInput();
    void fillDevices();
    void fillChannels();
    void takeChannels();
    void showLevels();
    void showDevices();

    InputLevelsController& mLevels;
    SideView mLeft;
    SideView mRight;
    QComboBox* mDevice;
    QComboBox* mLeftChannel;
    QComboBox* mRightChannel;
    QSlider* mGain;
    QCheckBox* mMonitor;
    QCheckBox* mPlaythrough;
    QLabel* mProblem;
    std::vector<int> mTokens;
};

} // namespace velloria
