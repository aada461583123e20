#include "cli/terminal/LevelLine.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <unistd.h>

namespace velloria
{

namespace
{

constexpr int kMeterWidth = 16;
constexpr double kLowestDecibels = -60.0;

QString meter(double peak)
{
    const int numFull = LevelLine::numFullCells(peak, kMeterWidth);
    return QString(numFull, u'#') + QString(kMeterWidth - numFull, u' ') + (peak >= 1.0 ? u'!' : u'|');
}

void write(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
    std::fflush(stderr);
}

} // namespace

LevelLine::LevelLine()
    : mHasTerminal(::isatty(STDERR_FILENO) != 0)
{
}

LevelLine::~LevelLine()
{
    if (!mShown.isEmpty())
        write(QStringLiteral("\r\033[K"));
}

int LevelLine::numFullCells(double peak, int width)
{
    if (!(peak > 0.0))
        return 0;
    const double share = (20.0 * std::log10(peak) - kLowestDecibels) / -kLowestDecibels;
    return static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * width));
}

void LevelLine::show(const QString& state, double leftPeak, double rightPeak)
{
    const QString line = QStringLiteral("%1  L|%2 R|%3").arg(state, meter(leftPeak), meter(rightPeak));
    if (!mHasTerminal || line == mShown)
        return;
    mShown = line;
    write(QStringLiteral("\r\033[K") + line);
}

} // namespace velloria
