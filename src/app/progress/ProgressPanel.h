#pragma once

#include "app/progress/ProgressClock.h"

#include <QDialog>

class QLabel;
class QProgressBar;
class QPushButton;

namespace velloria
{

/// The window that shows how far a long operation is, with a Cancel button; Escape is the same. Modal to its
/// parent; without one it stands free in the middle of the screen.
class ProgressPanel : public QDialog
{
    Q_OBJECT

public:
    explicit ProgressPanel(const QString& title, QWidget* parent = nullptr);

    void setTitle(const QString& title);
    void show(const ProgressClock::Display& display);
    /// Says that the work is asked to stop, which may take a moment.
    void showCancelling();

Q_SIGNALS:
    void cancelRequested();

protected:
    /// Escape, and the close button of its frame.
    void reject() override;

private:
    QLabel* mTitle;
    QProgressBar* mBar;
    QLabel* mRemaining;
    QPushButton* mCancel;
};

} // namespace velloria
