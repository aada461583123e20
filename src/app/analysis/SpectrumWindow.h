#pragma once

#include "app/analysis/AnalysedSound.h"
#include "measurement/AverageSpectrum.h"

#include <QDialog>

class QComboBox;
class QLabel;

namespace velloria
{

class SpectrumChart;

/// The average spectrum of a sound, with the choices of how it is looked at. It stays beside the document's
/// window, and looks at another selection when it is asked to.
class SpectrumWindow : public QDialog
{
    Q_OBJECT

public:
    /// Asked for the sound each time it is to be looked at.
    using Sound = std::function<AnalysedSound()>;

    SpectrumWindow(Sound sound, QWidget* parent);

    SpectrumChart& chart() { return *mChart; }
    /// Computes it, with a progress sheet when that takes long.
    void measure();
    bool writeText(const QString& path);
    bool writePicture(const QString& path);

private:
    QWidget* makeChoices();
    QWidget* makeButtons();
    SpectrumSettings settings() const;
    void save(const QString& title, const QString& suffix, const QString& filter,
              bool (SpectrumWindow::*write)(const QString&));
    bool writeBytes(const QString& path, const QByteArray& bytes);

    Sound mSound;
    std::optional<AverageSpectrum> mSpectrum;
    QString mDocumentName;
    QLabel* mPart;
    QLabel* mReadout;
    SpectrumChart* mChart;
    QComboBox* mSize;
    QComboBox* mWindowKind;
    QComboBox* mAxis;
};

} // namespace velloria
