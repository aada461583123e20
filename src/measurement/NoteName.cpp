#include "measurement/NoteName.h"

#include <array>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kA4 = 440.0;
constexpr int kNumberOfA4 = 69; ///< as MIDI counts notes; 60 is C4
constexpr double kLowest = 16.0;
constexpr double kHighest = 20000.0;

} // namespace

QString noteName(double frequency)
{
    if (!(frequency >= kLowest && frequency <= kHighest))
        return {};
    static const std::array<QString, 12> names = {
        QStringLiteral("C"),  QStringLiteral("C♯"), QStringLiteral("D"),  QStringLiteral("D♯"),
        QStringLiteral("E"),  QStringLiteral("F"),  QStringLiteral("F♯"), QStringLiteral("G"),
        QStringLiteral("G♯"), QStringLiteral("A"),  QStringLiteral("A♯"), QStringLiteral("B")};
    const double semitones = kNumberOfA4 + 12.0 * std::log2(frequency / kA4);
    const int note = static_cast<int>(std::lround(semitones));
    const auto cents = static_cast<int>(std::lround(100.0 * (semitones - note)));
    const QString name = names[static_cast<size_t>(note) % names.size()] + QString::number(note / 12 - 1);
    if (cents == 0)
        return name;
    return QStringLiteral("%1 %2%3")
        .arg(name, cents < 0 ? QStringLiteral("−") : QStringLiteral("+"))
        .arg(std::abs(cents));
}

} // namespace velloria
