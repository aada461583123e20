#include "display/VLHorizontalRulerLayer.h"

#include "platform/Log.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>

namespace velloria
{

namespace
{

constexpr double kSecondsPerFoot = 2.0 / 3.0;
constexpr double kFilmFramesPerSecond = 24.0;
constexpr double kMaxDecimalTileWidth = 200.0;

/// Narrower tiles, which only a view of days shows, share their labels among several.
constexpr double kMinLabelSpacing = 45.0;

constexpr double kOtherwise = std::numeric_limits<double>::infinity();

/// What a tile covers where the pixels that a label needs cover less than `below` seconds.
struct Tier {
    double below;
    double seconds;
    int divisions;
};

constexpr std::array kMinutesAndSecondsTiers{
    Tier{0.0006, 0.001, 10},     Tier{0.003, 0.005, 5}, Tier{0.005, 0.01, 10}, Tier{0.01, 0.05, 5},
    Tier{0.1, 0.1, 10},          Tier{0.2, 0.5, 5},     Tier{1.1, 1.0, 10},    Tier{5.0, 5.0, 5},
    Tier{10.0, 10.0, 10},        Tier{60.0, 60.0, 6},   Tier{300.0, 300.0, 5}, Tier{600.0, 900.0, 3},
    Tier{kOtherwise, 3600.0, 6},
};

constexpr std::array kTiersAt30Fps{
    Tier{0.004, 1.0 / 300.0, 10},
    Tier{0.02, 1.0 / 30.0, 10},
    Tier{0.1, 1.0 / 6.0, 5},
    Tier{0.2, 1.0 / 3.0, 10},
    Tier{0.3, 0.5, 3},
    Tier{1.0, 1.0, 6},
    Tier{5.0, 5.0, 5},
    Tier{10.0, 10.0, 10},
    Tier{60.0, 60.0, 6},
    Tier{600.0, 600.0, 10},
    Tier{kOtherwise, 3600.0, 6},
};

constexpr std::array kTiersAt25Fps{
    Tier{0.004, 0.004, 10}, Tier{0.027, 0.04, 5},   Tier{0.1, 0.2, 5},
    Tier{1.0, 1.0, 5},      Tier{5.0, 5.0, 5},      Tier{10.0, 10.0, 10},
    Tier{60.0, 60.0, 10},   Tier{600.0, 600.0, 10}, Tier{kOtherwise, 3600.0, 6},
};

constexpr std::array kTiersAt24Fps{
    Tier{0.004, 1.0 / 240.0, 10},
    Tier{0.03, 1.0 / 24.0, 10},
    Tier{0.1, 0.25, 6},
    Tier{1.0, 1.0, 6},
    Tier{5.0, 5.0, 5},
    Tier{10.0, 10.0, 10},
    Tier{60.0, 60.0, 6},
    Tier{600.0, 600.0, 10},
    Tier{kOtherwise, 3600.0, 6},
};

const Tier& tierFor(double seconds, std::span<const Tier> tiers)
{
    const auto tier = std::find_if(tiers.begin(), tiers.end(),
                                   [seconds](const Tier& candidate) { return seconds < candidate.below; });
    return tier == tiers.end() ? tiers.back() : *tier;
}

std::span<const Tier> tiersForFps(double fps)
{
    if (fps == 30.0)
        return kTiersAt30Fps;
    if (fps == 25.0)
        return kTiersAt25Fps;
    if (fps == 24.0)
        return kTiersAt24Fps;
    return {};
}

/// The smallest power of ten that is not below value, but for the noise of value's own rounding.
double powerOfTenAtLeast(double value)
{
    return std::pow(10.0, std::ceil(std::log10(value) - 1e-9));
}

/// Decimals that tell neighbouring tiles apart.
int numDecimalsForTileValue(double value)
{
    if (value >= 1.0)
        return 0;
    if (value >= 0.1)
        return 1;
    if (value >= 0.01)
        return 2;
    // Below a thousandth only at rates above 200 kHz; three decimals would then show labels twice.
    return value >= 0.001 ? 3 : 4;
}

} // namespace

VLHorizontalRulerLayer::VLHorizontalRulerLayer(const QLocale& locale)
    : _timeFormatter(locale)
    , _numberFormatter(locale)
{
    reloadTiles();
}

void VLHorizontalRulerLayer::setZoom(double zoom)
{
    if (!(zoom > 0.0) || !std::isfinite(zoom))
        return;
    _zoom = zoom;
    reloadTiles();
}

void VLHorizontalRulerLayer::setSampleRate(double sampleRate)
{
    if (!(sampleRate > 0.0) || !std::isfinite(sampleRate))
        return;
    _sampleRate = sampleRate;
    _timeFormatter.setSampleRate(sampleRate);
    reloadTiles();
}

void VLHorizontalRulerLayer::setUnits(int64_t units)
{
    _timeFormatter.setUnits(units);
    reloadTiles();
}

void VLHorizontalRulerLayer::reloadTiles()
{
    if (const auto fps = framesPerSecondOfUnits(units())) {
        timeAndFramesRulerSetUpWithFps(*fps);
        return;
    }
    switch (units()) {
    case kRulerUnitsSeconds:
        return fpsRulerSetUpWithFps(1.0);
    case kRulerUnitsSamples:
        return sampleRulerSetUp();
    case kRulerUnitsFeetAndFrames:
        return feetAndFramesRulerSetUp();
    case kRulerUnitsFilmFrames:
        return fpsRulerSetUpWithFps(kFilmFramesPerSecond);
    default:
        return defaultRulerSetUp();
    }
}

void VLHorizontalRulerLayer::setTiles(double value, int divisions, double framesPerValue)
{
    _valuePerTile = value;
    _divisions = divisions;
    _framesPerTile = value * framesPerValue;
    _tileWidth = _framesPerTile / _zoom;
}

/// Tiles of a power of ten, at least minValue, or of half of it where these would be wide.
void VLHorizontalRulerLayer::setDecimalTiles(double minValue, double framesPerValue)
{
    const double value = powerOfTenAtLeast(minValue);
    if (value * framesPerValue / _zoom > kMaxDecimalTileWidth)
        setTiles(value / 2.0, 5, framesPerValue);
    else
        setTiles(value, 10, framesPerValue);
}

void VLHorizontalRulerLayer::defaultRulerSetUp()
{
    const Tier& tier = tierFor(secondsUnderPixels(50.0), kMinutesAndSecondsTiers);
    setTiles(tier.seconds, tier.divisions, _sampleRate);
}

void VLHorizontalRulerLayer::sampleRulerSetUp()
{
    setDecimalTiles(_zoom * 70.0, 1.0);
}

void VLHorizontalRulerLayer::timeAndFramesRulerSetUpWithFps(double fps)
{
    const double seconds = secondsUnderPixels(80.0);
    const std::span<const Tier> tiers = tiersForFps(fps);
    if (tiers.empty()) {
        logLine(QStringLiteral("Unsupported frame rate"));
        setTiles(seconds, 10, _sampleRate);
        return;
    }
    const Tier& tier = tierFor(seconds, tiers);
    setTiles(tier.seconds, tier.divisions, _sampleRate);
}

void VLHorizontalRulerLayer::feetAndFramesRulerSetUp()
{
    const double feet = secondsUnderPixels(80.0) / kSecondsPerFoot;
    const auto setSeconds = [this](double seconds, int divisions) {
        setTiles(seconds, divisions, _sampleRate);
    };
    if (feet >= 0.2) {
        const double feetPerTile = powerOfTenAtLeast(feet);
        const int divisionsOfOneFoot = feet > 0.5 ? 8 : 16;
        setSeconds(feetPerTile * kSecondsPerFoot, feetPerTile > 1.0 ? 10 : divisionsOfOneFoot);
    } else if (feet > 0.1)
        setSeconds(1.0 / 3.0, 8);
    else if (feet > 0.06)
        setSeconds(1.0 / 6.0, 4);
    else if (feet > 0.03)
        setSeconds(1.0 / 12.0, 2);
    else if (feet > 0.015)
        setSeconds(1.0 / 24.0, 4);
    else if (feet > 0.01)
        setSeconds(1.0 / 48.0, 5);
    else
        setSeconds(1.0 / 240.0, 10);
}

void VLHorizontalRulerLayer::fpsRulerSetUpWithFps(double fps)
{
    setDecimalTiles(secondsUnderPixels(100.0) * fps, _sampleRate / fps);
}

QString VLHorizontalRulerLayer::stringForTileWithIndex(int64_t index) const
{
    const double sampleIndex = static_cast<double>(index) * _framesPerTile;
    if (const auto fps = framesPerSecondOfUnits(units()))
        return timeAndFramesRulerLabelStringWithSampleIndex(sampleIndex, *fps);
    switch (units()) {
    case kRulerUnitsSeconds:
        return fpsRulerLabelStringWithSampleIndex(sampleIndex, 1.0);
    case kRulerUnitsSamples:
        return sampleRulerLabelStringWithSampleIndex(sampleIndex);
    case kRulerUnitsFeetAndFrames:
        return feetAndFramesRulerLabelStringWithSampleIndex(sampleIndex);
    case kRulerUnitsFilmFrames:
        return fpsRulerLabelStringWithSampleIndex(sampleIndex, kFilmFramesPerSecond);
    default:
        return defaultRulerLabelStringWithSampleIndex(sampleIndex);
    }
}

QString VLHorizontalRulerLayer::defaultRulerLabelStringWithSampleIndex(double sampleIndex) const
{
    TimeFormatter formatter = _timeFormatter;
    formatter.setPrecision(std::min(_valuePerTile, 1.0));
    return formatter.stringWithTime(sampleIndex / _sampleRate);
}

QString VLHorizontalRulerLayer::sampleRulerLabelStringWithSampleIndex(double sampleIndex) const
{
    if (_valuePerTile >= 1000000.0)
        return _numberFormatter.stringFromNumber(sampleIndex / 1000000.0, 0) + u'm';
    if (_valuePerTile >= 1000.0)
        return _numberFormatter.stringFromNumber(sampleIndex / 1000.0, 0) + u'k';
    return _numberFormatter.stringFromNumber(sampleIndex, 0);
}

QString VLHorizontalRulerLayer::timeAndFramesRulerLabelStringWithSampleIndex(double sampleIndex,
                                                                             double fps) const
{
    const double frames = sampleIndex / _sampleRate * fps;
    const bool showsTenths = _valuePerTile < 1.0 / fps;
    TimeFormatter formatter = _timeFormatter;
    formatter.setPrecision(showsTenths ? 0.1 : 1.0);
    const double seconds = showsTenths ? std::round(frames * 10.0) / (10.0 * fps) : std::round(frames) / fps;
    return formatter.stringWithTime(seconds, fps);
}

QString VLHorizontalRulerLayer::feetAndFramesRulerLabelStringWithSampleIndex(double sampleIndex) const
{
    const double frames = std::round(sampleIndex / _sampleRate * kFilmFramesPerSecond * 10.0) / 10.0;
    const double feet = std::floor(frames / 16.0);
    const double framesOfFoot = std::fmod(frames, 16.0);
    if (_valuePerTile >= kSecondsPerFoot)
        return QString::asprintf("%1.0f'", feet);
    const int numDecimals = _valuePerTile >= 1.0 / kFilmFramesPerSecond ? 0 : 1;
    return QString::asprintf("%1.0f' %1.*f", feet, numDecimals, framesOfFoot);
}

QString VLHorizontalRulerLayer::fpsRulerLabelStringWithSampleIndex(double sampleIndex, double fps) const
{
    return _numberFormatter.stringFromNumber(sampleIndex / _sampleRate * fps,
                                             numDecimalsForTileValue(_valuePerTile));
}

std::vector<RulerTile> VLHorizontalRulerLayer::tilesInRange(double firstPixel, double endPixel) const
{
    std::vector<RulerTile> tiles;
    const double firstIndex = std::floor(std::max(firstPixel, 0.0) / _tileWidth);
    const double endIndex = std::ceil(endPixel / _tileWidth);
    // Negated so that NaN ends here too; beyond 2^53 tiles indices are no longer exact.
    if (!(_tileWidth > 0.0 && firstIndex < endIndex && endIndex <= 9007199254740992.0))
        return tiles;
    const auto labelStride = static_cast<int64_t>(std::ceil(std::max(1.0, kMinLabelSpacing / _tileWidth)));
    tiles.reserve(static_cast<size_t>(endIndex - firstIndex));
    for (auto index = static_cast<int64_t>(firstIndex); index < static_cast<int64_t>(endIndex); ++index) {
        const double x = static_cast<double>(index) * _tileWidth;
        const QString label = index % labelStride == 0 ? stringForTileWithIndex(index) : QString();
        tiles.push_back({index, x, _tileWidth, label, ticksOfTileAt(x)});
    }
    return tiles;
}

std::vector<RulerTick> VLHorizontalRulerLayer::ticksOfTileAt(double x) const
{
    std::vector<RulerTick> ticks;
    ticks.reserve(static_cast<size_t>(_divisions));
    for (int i = 0; i < _divisions; ++i)
        ticks.push_back({x + _tileWidth * i / _divisions, i == 0});
    return ticks;
}

} // namespace velloria
