#pragma once

#include <QWidget>

class QLabel;
class QProgressBar;

namespace velloria
{

/// The line over the waveform of a file that is still being decoded: how far it is, how long it will take,
/// and Cancel.
class OpeningBar : public QWidget
{
    Q_OBJECT

public:
    explicit OpeningBar(QWidget* parent = nullptr);

    /// A fraction, and "12 seconds" or nothing.
    void showProgress(double value, const QString& remaining);

Q_SIGNALS:
    void cancelRequested();

private:
    static QString textOf(const QString& remaining);

    QProgressBar* mBar;
    QLabel* mRemaining;
};

} // namespace velloria
