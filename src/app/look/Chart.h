#pragma once

#include <QWidget>

namespace velloria
{

/// Base of the charts: an area with room at its left for the names of levels and below it for those of
/// places, in a frame that shows whether the keys go there. Main thread.
class Chart : public QWidget
{
    Q_OBJECT

public:
    /// Around the area, in pixels.
    struct Margins {
        int left = 0;
        int bottom = 0;
        int others = 0;
    };

    Chart(const Margins& margins, const QSize& size, QWidget* parent);

    QSize sizeHint() const override { return mSize; }

protected:
    /// Within the margins.
    QRectF area() const;
    void paintBackground(QPainter& painter) const;
    /// A line across the area, and what it is called at its left.
    void paintLevelLine(QPainter& painter, double y, const QColor& line, const QString& name) const;
    void paintPlaceLine(QPainter& painter, double x, const QColor& line) const;
    /// Below the area, within the widget. Nothing where it would come near what ends at `end`; answers where
    /// it ends itself.
    double paintPlaceName(QPainter& painter, double x, const QString& name, double end) const;
    void paintFrame(QPainter& painter) const;

    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    const Margins mMargins;
    const QSize mSize;
};

} // namespace velloria
