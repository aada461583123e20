#pragma once

#include "display/TimeFormatter.h"

#include <QWidget>

namespace velloria
{

class WaveformContext;

/// The cue's time in large digits of one width each, in the ruler's units, so that nothing trembles while it
/// runs. Paints only itself when the time changes.
class TimeReadout : public QWidget
{
    Q_OBJECT

public:
    explicit TimeReadout(WaveformContext& context, QWidget* parent = nullptr);

    const QString& text() const { return mText; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void takeSettings();
    void updateFont();
    void updateTime();
    double widthOf(QChar character) const;

    WaveformContext& mContext;
    TimeFormatter mFormatter;
    QString mText;
    QString mLongest;
    QFont mFont;
    double mDigitWidth = 0;
};

} // namespace velloria
