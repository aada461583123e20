#pragma once

#include "app/look/Chart.h"
#include "measurement/AverageSpectrum.h"

#include <QColor>
#include <QStringList>
#include <optional>

namespace velloria
{

/// Draws a spectrum, one line a track, and reads out the peak near the pointer or, with the arrow keys, near
/// the place chosen before.
class SpectrumChart : public Chart
{
    Q_OBJECT

public:
    explicit SpectrumChart(QWidget* parent = nullptr);

    void showSpectrum(AverageSpectrum spectrum, const QStringList& trackNames);
    bool isLogarithmic() const { return mIsLogarithmic; }
    void setLogarithmic(bool isLogarithmic);
    /// What the lower edge means; the upper one follows the sound.
    void setLowestLevelDB(double levelDB);

    /// Places a read-out at a frequency, or takes it away.
    void setReadoutFrequency(std::optional<double> frequency);
    /// "1,000.3 Hz  B5 +21  −20.1 dB"; empty without a read-out.
    QString readout() const;

    double xOfFrequency(double frequency) const;
    double frequencyAtX(double x) const;

Q_SIGNALS:
    void readoutChanged(const QString& text);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    double lowestFrequency() const;
    double highestFrequency() const;
    double yOfLevel(double levelDB) const;
    double highestLevelDB() const;
    AverageSpectrum::Peak peakAtReadout() const;
    QColor colorOfTrack(size_t track) const;
    std::vector<double> frequencyLines() const;

    void paintGrid(QPainter& painter) const;
    void paintTrack(QPainter& painter, size_t track) const;
    void paintReadout(QPainter& painter) const;
    void paintNames(QPainter& painter) const;

    std::optional<AverageSpectrum> mSpectrum;
    QStringList mTrackNames;
    bool mIsLogarithmic = true;
    double mLowestLevelDB = -120.0;
    std::optional<double> mReadoutFrequency;
};

} // namespace velloria
