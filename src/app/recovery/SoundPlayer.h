#pragma once

#include "document/LeftOverSounds.h"

#include <QTimer>
#include <QWidget>

class QLabel;
class QSlider;
class QToolButton;

namespace velloria
{

/// Plays one left-over sound at a time, to be recognised by ear: a button, a place to drag, the time. Nothing
/// is taken over for it, so that what is listened to can still be opened.
class SoundPlayer : public QWidget
{
    Q_OBJECT

public:
    explicit SoundPlayer(QWidget* parent = nullptr);
    ~SoundPlayer() override;

    /// Null for none. Playing stops.
    void setSound(const LeftOverSound* sound);
    void toggle();
    void stop();
    bool isPlaying() const;
    /// Seconds.
    double position() const;

Q_SIGNALS:
    /// In words for a person.
    void failed(const QString& message);

private:
    void play();
    void moveTo(double seconds);
    void follow();
    void showState();

    std::optional<LeftOverSound> mSound;
    /// Read when it is played first.
    std::shared_ptr<SoundDocument> mDocument;
    QToolButton* const mButton;
    QSlider* const mSlider;
    QLabel* const mTime;
    QTimer mTimer;
};

} // namespace velloria
