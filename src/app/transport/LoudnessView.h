#pragma once

#include "controllers/PlaybackLoudness.h"

#include <QAbstractButton>

namespace velloria
{

/// The loudness of what plays: momentary, short-term and integrated in LUFS, over a bar of the momentary one
/// with a mark at the short-term one. A click asks for a new measurement. Main thread.
class LoudnessView : public QAbstractButton
{
    Q_OBJECT

public:
    /// The bar's ends: what the EBU's meters show, 18 LU below and above the level of broadcasts and half as
    /// much further down.
    static constexpr double kLowestLUFS = -59.0;
    static constexpr double kHighestLUFS = -5.0;
    /// What is softer counts as silence; the standard's absolute gate.
    static constexpr double kSilenceLUFS = -70.0;

    explicit LoudnessView(QWidget* parent = nullptr);

    void setReading(const LoudnessReading& reading);
    const LoudnessReading& reading() const { return mReading; }
    /// As it is shown: one decimal, a dash for silence.
    static QString textOf(double loudness);
    double xPositionForValue(double loudness) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void paintColumns(QPainter& painter) const;
    void paintBar(QPainter& painter) const;
    QFont numberFont() const;
    QFont captionFont() const;

    LoudnessReading mReading;
};

} // namespace velloria
