#pragma once

#include <QWidget>
#include <deque>

namespace velloria
{

/// The levels of the last seconds as bars over a scale of dB, from right to left, with a line at the level
/// that begins an automatic recording and one at that which ends it. Bars that were kept have another colour.
class RecordingHistoryView : public QWidget
{
    Q_OBJECT

public:
    static constexpr double kFloorDB = -72.0;

    explicit RecordingHistoryView(QWidget* parent = nullptr);

    void setGuides(double startLevel, double stopLevel);
    /// Blocks may be as short as they like: a bar is the loudest of what came in its time.
    void addBlock(double levelDB, double seconds, bool isWritten);
    int numBars() const { return static_cast<int>(mBars.size()); }

    QSize sizeHint() const override { return {420, 132}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    struct Bar {
        double levelDB = kFloorDB;
        bool isWritten = false;
    };

    QRectF plot() const;
    double yOf(double levelDB) const;
    void paintScale(QPainter& painter) const;
    void paintGuide(QPainter& painter, double levelDB, const QColor& color) const;

    std::deque<Bar> mBars; ///< the newest last
    Bar mGathering;
    double mGatheredSeconds = 0.0;
    double mStartLevel = 0.0;
    double mStopLevel = 0.0;
};

} // namespace velloria
