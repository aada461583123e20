#pragma once

#include "controllers/OutputDeviceWatch.h"
#include "effects/frame/FilterPreview.h"

#include <QWidget>
#include <memory>

class QCheckBox;
class QLabel;
class QPushButton;

namespace velloria
{

/// The row of an effect's dialog that lets the effect be heard: Preview, Bypass and Loop. Main thread.
class PreviewControls : public QWidget
{
    Q_OBJECT

public:
    /// The effect has its source, and outlives this.
    explicit PreviewControls(Filter& filter, QWidget* parent = nullptr);
    ~PreviewControls() override;

    /// Sets parameters of the effect, which is heard at once.
    void change(const std::function<void()>& setParameters) { mPreview.change(setParameters); }
    bool isPlaying() const { return mPreview.isRunning(); }
    void stop() { mPreview.stop(); }
    std::optional<PreviewLevels> takeHeardLevels() { return mPreview.takeHeardLevels(); }

    QPushButton& previewButton() { return *mButton; }
    QPushButton& bypassButton() { return *mBypass; }
    QCheckBox& loopBox() { return *mLoop; }
    QString message() const;

Q_SIGNALS:
    /// What else plays should stop, and the effect take the values of the dialog.
    void willPlay();
    void playingChanged(bool isPlaying);

private:
    void playOrStop(bool plays);
    void showMessage(const QString& message);
    void updateButton();

    FilterPreview mPreview;
    std::unique_ptr<OutputDeviceWatch> mDeviceWatch; ///< while it plays
    QPushButton* mButton;
    QPushButton* mBypass;
    QCheckBox* mLoop;
    QLabel* mMessage;
};

} // namespace velloria
