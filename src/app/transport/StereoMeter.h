#pragma once

#include <QWidget>

namespace velloria
{

class VLLevelMeterView;

/// The meters of a left and a right channel over one scale of dB. Main thread.
class StereoMeter : public QWidget
{
    Q_OBJECT

public:
    static constexpr int kHeight = 32; ///< of both bars and their scale

    explicit StereoMeter(const QString& leftName, const QString& rightName, QWidget* parent = nullptr);

    VLLevelMeterView& left() { return *mLeft; }
    VLLevelMeterView& right() { return *mRight; }
    /// In dB.
    void setLevels(double leftDB, double rightDB);
    /// Puts out both clip lights.
    void resetClipIndicators();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    VLLevelMeterView* mLeft;
    VLLevelMeterView* mRight;
};

} // namespace velloria
