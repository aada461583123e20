#pragma once

#include <QString>

namespace velloria
{

/// The line below a sound that plays or is recorded: where it is and how loud, kept up to date at the bottom
/// of a terminal. Where standard error is none nothing is written.
class LevelLine
{
public:
    LevelLine();
    /// Takes the line away.
    ~LevelLine();
    LevelLine(const LevelLine&) = delete;
    LevelLine& operator=(const LevelLine&) = delete;

    bool hasTerminal() const { return mHasTerminal; }
    /// Peaks are linear.
    void show(const QString& state, double leftPeak, double rightPeak);

    /// So many of `width` cells are full: from -60 dB to 0.
    static int numFullCells(double peak, int width);

private:
    const bool mHasTerminal;
    QString mShown;
};

} // namespace velloria
