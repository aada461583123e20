#include "document/MarkerPlacement.h"

#include "document/clips/SoundSelection.h"

#include <algorithm>
#include <cmath>

namespace velloria::MarkerPlacement
{

namespace
{

constexpr float kLoudPeak = 0x1p-5F;
constexpr int kQuietBins = 19;
constexpr int64_t kLeadBins = 2;
constexpr int64_t kBeatsPerBar = 4;
/// More lines than anybody could use; keeps the count within an integer.
constexpr double kMostLines = 1e15;

/// The first line from 0 on.
double firstLine(double offset, double spacing)
{
    return offset >= 0.0 ? offset : offset + std::ceil(-offset / spacing) * spacing;
}

} // namespace

std::vector<AudioMarkerPtr> atLoudPassages(std::span<const float> peaks, double sampleRate)
{
    std::vector<AudioMarkerPtr> markers;
    int numQuiet = kQuietBins;
    for (int64_t bin = 0; bin < std::ssize(peaks); ++bin) {
        if (peaks[static_cast<size_t>(bin)] < kLoudPeak) {
            numQuiet = std::min(numQuiet + 1, kQuietBins);
            continue;
        }
        if (numQuiet >= kQuietBins) {
            const double time = static_cast<double>(std::max<int64_t>(0, bin - kLeadBins)) * secondsPerBin;
            const QString name = QString::number(markers.size() + 1).rightJustified(2, u'0');
            markers.push_back(std::make_shared<AudioMarker>(0, frameAtTime(time, sampleRate), name));
        }
        numQuiet = 0;
    }
    return markers;
}

int64_t numGridLines(double offset, double spacing, double totalTime)
{
    if (!(spacing > 0.0) || !std::isfinite(spacing) || !std::isfinite(offset))
        return 0;
    const double count = std::ceil((totalTime - firstLine(offset, spacing)) / spacing);
    return count >= 1.0 ? static_cast<int64_t>(std::min(count, kMostLines)) : 0;
}

std::vector<AudioMarkerPtr> atGridLines(double offset, double spacing, double totalTime, double sampleRate)
{
    std::vector<AudioMarkerPtr> markers;
    const int64_t count = numGridLines(offset, spacing, totalTime);
    const double first = firstLine(offset, spacing);
    for (int64_t i = 0; i < count; ++i) {
        const double time = first + static_cast<double>(i) * spacing;
        if (time >= totalTime)
            break;
        const QString bar = QString::number(i / kBeatsPerBar + 1).rightJustified(3, u'0');
        markers.push_back(std::make_shared<AudioMarker>(0, frameAtTime(time, sampleRate),
                                                        bar + u'-' + QString::number(i % kBeatsPerBar + 1)));
    }
    return markers;
}

} // namespace velloria::MarkerPlacement
