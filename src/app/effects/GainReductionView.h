#pragma once

#include <QWidget>

namespace velloria
{

/// How far an effect lowers the gain, as a bar that grows from the right, linear in dB from 0 to 30. It grows
/// at once and goes back more slowly. Main thread.
class GainReductionView : public QWidget
{
    Q_OBJECT

public:
    static constexpr double kMostDB = 30.0;

    explicit GainReductionView(QWidget* parent = nullptr);

    /// 0 or more; what lies beyond the bar fills it.
    void setReduction(double decibels);
    /// Back to none at once.
    void reset();
    /// What the bar shows.
    double reduction() const { return mShownDB; }

    QSize sizeHint() const override { return {200, kHeight}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    static constexpr int kHeight = 24;

    double mShownDB = 0.0;
};

} // namespace velloria
