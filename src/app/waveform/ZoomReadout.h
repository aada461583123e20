#pragma once

#include <QToolButton>

namespace velloria
{

class WaveformContext;

/// Says how close the view is: "1 : 512" where one pixel shows 512 samples. The tool tip says the same in
/// words and times; a click offers zooms to choose from. Main thread.
class ZoomReadout : public QToolButton
{
    Q_OBJECT

public:
    explicit ZoomReadout(WaveformContext& context, QWidget* parent = nullptr);

    /// "1 : 512"; `zoom` is in samples a pixel.
    static QString textOf(double zoom);

protected:
    void changeEvent(QEvent* event) override;
    bool event(QEvent* event) override;

private:
    void showZoom();
    void takeWidth();
    QString description() const;

    WaveformContext& mContext;
};

} // namespace velloria
