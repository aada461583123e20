#pragma once

#include <QSlider>

namespace velloria
{

/// The output level in dB, with a mark and a stop at 0; a double-click goes there.
class OutputLevelSlider : public QSlider
{
    Q_OBJECT

public:
    explicit OutputLevelSlider(QWidget* parent = nullptr);

    /// Shows a level without telling anybody.
    void setDecibels(double decibels);
    double decibels() const;
    /// "-6.0"
    static QString textOf(double decibels);

Q_SIGNALS:
    /// The person wants this level; what becomes of it is shown with setDecibels().
    void decibelsAsked(double decibels);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
};

} // namespace velloria
