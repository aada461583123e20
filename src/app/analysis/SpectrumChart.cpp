#include "app/analysis/SpectrumChart.h"

#include "app/look/Theme.h"
#include "measurement/NoteName.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QLocale>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kLeftMargin = 46;
constexpr int kMargin = 12;
constexpr int kBottomMargin = 24;
constexpr double kLevelStepDB = 12.0;
constexpr double kLabelSpacing = 52.0;
/// Within so many pixels of the pointer the highest bin is what is meant.
constexpr double kReach = 6.0;
constexpr QSize kSize(780, 400);
constexpr QSize kSmallestSize(360, 200);

QString frequencyLabel(double frequency)
{
    return frequency >= 1000.0 ? QStringLiteral("%1k").arg(QLocale().toString(frequency / 1000.0, 'g', 4))
                               : QLocale().toString(frequency, 'g', 4);
}

/// Of the lines of a logarithmic axis those at 1, 2 and 5 times a power of ten.
bool hasLabel(double frequency)
{
    const double factor = frequency / std::pow(10.0, std::floor(std::log10(frequency) + 1e-9));
    return std::fabs(factor - 1) < 1e-6 || std::fabs(factor - 2) < 1e-6 || std::fabs(factor - 5) < 1e-6;
}

/// 1, 2 or 5 times a power of ten, at least `step`.
double roundedUp(double step)
{
    const double power = std::pow(10.0, std::floor(std::log10(step)));
    for (const double factor : {1.0, 2.0, 5.0})
        if (factor * power >= step)
            return factor * power;
    return 10.0 * power;
}

} // namespace

SpectrumChart::SpectrumChart(QWidget* parent)
    : Chart({kLeftMargin, kBottomMargin, kMargin}, kSize, parent)
{
    setMouseTracking(true);
    setMinimumSize(kSmallestSize);
    //% "Spectrum"
    setAccessibleName(qtTrId("spectrum-title"));
}

void SpectrumChart::showSpectrum(AverageSpectrum spectrum, const QStringList& trackNames)
{
    mSpectrum = std::move(spectrum);
    mTrackNames = trackNames;
    setReadoutFrequency(mReadoutFrequency);
    update();
}

void SpectrumChart::setLogarithmic(bool isLogarithmic)
{
    mIsLogarithmic = isLogarithmic;
    update();
}

void SpectrumChart::setLowestLevelDB(double levelDB)
{
    mLowestLevelDB = levelDB;
    update();
}

double SpectrumChart::highestFrequency() const
{
    return mSpectrum ? mSpectrum->sampleRate() / 2.0 : 22050.0;
}

double SpectrumChart::lowestFrequency() const
{
    return mIsLogarithmic ? std::min(20.0, highestFrequency() / 100.0) : 0.0;
}

double SpectrumChart::xOfFrequency(double frequency) const
{
    const QRectF inner = area();
    const double low = lowestFrequency();
    const double high = highestFrequency();
    const double share = mIsLogarithmic
                             ? std::log(std::max(frequency, low / 10.0) / low) / std::log(high / low)
                             : frequency / high;
    return inner.left() + share * inner.width();
}

double SpectrumChart::frequencyAtX(double x) const
{
    const QRectF inner = area();
    const double share = std::clamp((x - inner.left()) / inner.width(), 0.0, 1.0);
    const double low = lowestFrequency();
    const double high = highestFrequency();
    return mIsLogarithmic ? low * std::pow(high / low, share) : share * high;
}

double SpectrumChart::highestLevelDB() const
{
    // Steps of the grid, so that the picture of a similar sound looks alike.
    const double peak = mSpectrum ? mSpectrum->highestBetween(0, highestFrequency()).levelDB : 0.0;
    return std::max(std::ceil(peak / kLevelStepDB) * kLevelStepDB, mLowestLevelDB + 2 * kLevelStepDB);
}

double SpectrumChart::yOfLevel(double levelDB) const
{
    const QRectF inner = area();
    const double highest = highestLevelDB();
    return inner.top() + (highest - levelDB) / (highest - mLowestLevelDB) * inner.height();
}

void SpectrumChart::setReadoutFrequency(std::optional<double> frequency)
{
    mReadoutFrequency = frequency;
    const QString text = readout();
    setAccessibleDescription(text);
    Q_EMIT readoutChanged(text);
    update();
}

AverageSpectrum::Peak SpectrumChart::peakAtReadout() const
{
    const double x = xOfFrequency(*mReadoutFrequency);
    const double half = mSpectrum->binWidth() * 0.75;
    return mSpectrum->highestBetween(std::min(frequencyAtX(x - kReach), *mReadoutFrequency - half),
                                     std::max(frequencyAtX(x + kReach), *mReadoutFrequency + half));
}

QString SpectrumChart::readout() const
{
    if (!mSpectrum || !mReadoutFrequency)
        return {};
    const AverageSpectrum::Peak peak = peakAtReadout();
    const QString note = noteName(peak.frequency);
    //: A frequency, a note (may be empty) and a level
    //% "%1 Hz   %2   %3 dB"
    return qtTrId("spectrum-readout")
        .arg(QLocale().toString(peak.frequency, 'f', 1), note, QLocale().toString(peak.levelDB, 'f', 1));
}

void SpectrumChart::mouseMoveEvent(QMouseEvent* event)
{
    setReadoutFrequency(frequencyAtX(event->position().x()));
}

void SpectrumChart::leaveEvent(QEvent*)
{
    if (!hasFocus())
        setReadoutFrequency(std::nullopt);
}

void SpectrumChart::keyPressEvent(QKeyEvent* event)
{
    const double step = (event->modifiers() & Qt::ShiftModifier) ? 1.0 : 8.0;
    const double x = xOfFrequency(mReadoutFrequency.value_or(lowestFrequency()));
    const QRectF inner = area();
    switch (event->key()) {
    case Qt::Key_Left:
        return setReadoutFrequency(frequencyAtX(x - step));
    case Qt::Key_Right:
        return setReadoutFrequency(frequencyAtX(x + step));
    case Qt::Key_Home:
        return setReadoutFrequency(frequencyAtX(inner.left()));
    case Qt::Key_End:
        return setReadoutFrequency(frequencyAtX(inner.right()));
    default:
        QWidget::keyPressEvent(event);
    }
}

QColor SpectrumChart::colorOfTrack(size_t track) const
{
    const Theme theme = Theme::fromPalette(palette());
    if (track == 0)
        return theme.waveform;
    // Hues a golden angle apart keep any number of tracks distinct.
    const int hue = (theme.waveform.hsvHue() + static_cast<int>(track) * 137) % 360;
    return QColor::fromHsv(std::max(hue, 0), 190, theme.isDark ? 235 : 190);
}

std::vector<double> SpectrumChart::frequencyLines() const
{
    std::vector<double> lines;
    const double high = highestFrequency();
    if (mIsLogarithmic) {
        const int numDecades = static_cast<int>(std::ceil(std::log10(high)));
        for (int i = 0; i < numDecades; ++i) {
            const double decade = std::pow(10.0, i);
            for (int factor = 1; factor < 10; ++factor)
                if (decade * factor >= lowestFrequency() && decade * factor <= high)
                    lines.push_back(decade * factor);
        }
    } else {
        const double step = roundedUp(high / std::max(1.0, area().width() / kLabelSpacing));
        for (int i = 0; i * step <= high; ++i)
            lines.push_back(i * step);
    }
    return lines;
}

void SpectrumChart::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    paintGrid(painter);
    if (!mSpectrum || mSpectrum->numBins() < 2)
        return;
    painter.save();
    painter.setClipRect(area());
    painter.setRenderHint(QPainter::Antialiasing);
    for (size_t track = mSpectrum->numTracks(); track-- > 0;)
        paintTrack(painter, track);
    painter.restore();
    if (mReadoutFrequency)
        paintReadout(painter);
    if (mSpectrum->numTracks() > 1)
        paintNames(painter);
}

void SpectrumChart::paintGrid(QPainter& painter) const
{
    const Theme theme = Theme::fromPalette(palette());
    paintBackground(painter);
    const double highest = highestLevelDB();
    const double step = kLevelStepDB * std::ceil((highest - mLowestLevelDB) / kLevelStepDB * 22.0 /
                                                 std::max(area().height(), 44.0));
    for (int i = 0; highest - i * step >= mLowestLevelDB; ++i) {
        const double level = highest - i * step;
        paintLevelLine(painter, std::round(yOfLevel(level)) + 0.5, theme.grid,
                       QLocale().toString(level, 'f', 0));
    }
    double nameEnd = 0;
    for (const double frequency : frequencyLines()) {
        const double x = std::round(xOfFrequency(frequency)) + 0.5;
        paintPlaceLine(painter, x, theme.grid);
        if (!mIsLogarithmic || hasLabel(frequency))
            nameEnd = paintPlaceName(painter, x, frequencyLabel(frequency), nameEnd);
    }
    paintFrame(painter);
}

void SpectrumChart::paintTrack(QPainter& painter, size_t track) const
{
    const std::span<const float> levels = mSpectrum->levelsDB(track);
    const QRectF inner = area();
    QPolygonF line;
    // Where several bins share a pixel the highest is drawn, so that no peak is lost.
    double x = 0;
    double highest = 0;
    const auto add = [&] { line << QPointF(x, std::min(yOfLevel(highest), inner.bottom() + 2)); };
    for (size_t bin = mIsLogarithmic ? 1 : 0; bin < levels.size(); ++bin) {
        const double next = xOfFrequency(static_cast<double>(bin) * mSpectrum->binWidth());
        const auto level = static_cast<double>(levels[bin]);
        const bool isSamePixel = x > 0 && std::floor(next) == std::floor(x);
        if (x > 0 && !isSamePixel)
            add();
        highest = isSamePixel ? std::max(highest, level) : level;
        x = isSamePixel ? x : next;
    }
    add();
    const QColor color = colorOfTrack(track);
    if (track == 0) {
        QPolygonF fill = line;
        fill << QPointF(line.last().x(), inner.bottom()) << QPointF(line.first().x(), inner.bottom());
        QColor shade = color;
        shade.setAlpha(40);
        painter.setPen(Qt::NoPen);
        painter.setBrush(shade);
        painter.drawPolygon(fill);
    }
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(color, 1.3));
    painter.drawPolyline(line);
}

void SpectrumChart::paintReadout(QPainter& painter) const
{
    const Theme theme = Theme::fromPalette(palette());
    const AverageSpectrum::Peak peak = peakAtReadout();
    const QRectF inner = area();
    const double x = std::clamp(xOfFrequency(peak.frequency), inner.left(), inner.right());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(theme.cue, 1));
    painter.drawLine(QPointF(x, inner.top()), QPointF(x, inner.bottom()));
    const double y = std::clamp(yOfLevel(peak.levelDB), inner.top(), inner.bottom());
    painter.setBrush(theme.lane);
    painter.setPen(QPen(theme.cue, 1.5));
    painter.drawEllipse(QPointF(x, y), 3.5, 3.5);
}

void SpectrumChart::paintNames(QPainter& painter) const
{
    const Theme theme = Theme::fromPalette(palette());
    const QFontMetricsF metrics(painter.font());
    const QRectF inner = area();
    double x = inner.right() - 8;
    for (qsizetype i = mTrackNames.size(); i-- > 0;) {
        const double nameWidth = metrics.horizontalAdvance(mTrackNames[i]);
        x -= nameWidth;
        if (x < inner.left() + 24)
            return;
        painter.setPen(theme.text);
        painter.drawText(QRectF(x, inner.top() + 6, nameWidth + 1, 16), Qt::AlignLeft | Qt::AlignVCenter,
                         mTrackNames[i]);
        painter.fillRect(QRectF(x - 16, inner.top() + 13, 11, 2.5), colorOfTrack(static_cast<size_t>(i)));
        x -= 30;
    }
}

} // namespace velloria
