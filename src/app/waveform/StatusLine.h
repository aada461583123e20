#pragma once

#include "display/TimeFormatter.h"

#include <QWidget>

class QLabel;
class QToolButton;

namespace velloria
{

class WaveformContext;

/// The line at the window's foot: selection, what is going on, and the sound's format. Times are in the
/// ruler's units; the button at the left chooses them.
class StatusLine : public QWidget
{
    Q_OBJECT

public:
    explicit StatusLine(WaveformContext& context, QWidget* parent = nullptr);

    /// "44,100 Hz · 16-bit · Stereo"
    void setFormat(const QString& format);
    /// "Reading waveform 43 %", or nothing.
    void setActivity(const QString& activity);
    /// What the mouse would do, or nothing; shown where no activity is.
    void setHint(const QString& hint);
    void setUnitsMenu(QMenu* menu);

    QString selectionText() const;
    QString lengthText() const;
    QString activityText() const;

private:
    QLabel* addField(const QString& caption, const QString& accessibleName);
    void takeSettings();
    void updateSelection();
    void updateMessage();
    QString textOf(double time) const;

    WaveformContext& mContext;
    TimeFormatter mFormatter;
    QToolButton* mUnits;
    QLabel* mSelection;
    QLabel* mLength;
    QLabel* mMessage;
    QLabel* mFormat;
    QString mActivity;
    QString mHint;
};

} // namespace velloria
