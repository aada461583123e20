#pragma once

class QKeyEvent;

namespace velloria
{

class WaveformContext;
class WaveformWidget;

/// What the keys do in the waveform that are no menu commands: arrows move the cue by a pixel (with Ctrl to
/// the next marker or edge of the selection, with Alt to the next grid line, with both to the next zero
/// crossing), Home and End go to the ends, with Shift all of them change the
/// selection; Page Up and Page Down scroll.
class WaveformKeys
{
public:
    explicit WaveformKeys(WaveformWidget& widget);

    /// False for a key that means nothing here.
    bool press(const QKeyEvent& event);

private:
    double head() const;
    double steppedTime(double from, int direction) const;
    double jumpedTime(double from, int direction) const;
    double nextGridLine(double from, int direction) const;
    double nextZeroCrossing(double from, int direction) const;
    void goTo(double time, bool extends);
    void reveal(double time);

    WaveformContext& mContext;
};

} // namespace velloria
