#include "app/analysis/SpectrumWindow.h"

#include "app/analysis/SpectrumChart.h"
#include "app/preferences/FolderMemory.h"
#include "app/progress/ProgressSheet.h"
#include "app/progress/WindowAlerts.h"
#include "platform/UserDefaults.h"

#include <QBuffer>
#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QSaveFile>
#include <QVBoxLayout>

namespace velloria
{

namespace
{

const QString kSizeKey = QStringLiteral("spectrum.size");
const QString kWindowKey = QStringLiteral("spectrum.window");
const QString kAxisKey = QStringLiteral("spectrum.axis");
constexpr int kDefaultSizeIndex = 5; ///< 8192

QComboBox* addChoice(QHBoxLayout& row, const QString& label, const QStringList& choices, const QString& key,
                     int standard)
{
    auto* const field = new QComboBox;
    field->addItems(choices);
    const UserDefaults& defaults = UserDefaults::standard();
    const int64_t kept = defaults.isSet(key) ? defaults.integerValue(key) : standard;
    field->setCurrentIndex(static_cast<int>(std::clamp<int64_t>(kept, 0, field->count() - 1)));
    auto* const caption = new QLabel(label);
    caption->setBuddy(field);
    row.addWidget(caption);
    row.addWidget(field);
    row.addSpacing(10);
    return field;
}

} // namespace

SpectrumWindow::SpectrumWindow(Sound sound, QWidget* parent)
    : QDialog(parent, Qt::Window)
    , mSound(std::move(sound))
    , mPart(new QLabel)
    , mReadout(new QLabel)
    , mChart(new SpectrumChart)
{
    setWindowTitle(qtTrId("spectrum-title"));
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(14, 12, 14, 12);
    layout->setSpacing(10);
    auto* const captions = new QHBoxLayout;
    for (QLabel* const label : {mPart, mReadout})
        label->setTextFormat(Qt::PlainText);
    mPart->setForegroundRole(QPalette::PlaceholderText);
    // What is read out changes with each movement of the mouse: neither may it move nor be cut meanwhile.
    for (QLabel* const label : {mPart, mReadout})
        label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    mReadout->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    captions->addWidget(mPart, 1);
    captions->addWidget(mReadout, 1);
    layout->addLayout(captions);
    layout->addWidget(mChart, 1);
    layout->addWidget(makeChoices());
    layout->addWidget(makeButtons());
    connect(mChart, &SpectrumChart::readoutChanged, mReadout, &QLabel::setText);
    mChart->setLogarithmic(mAxis->currentIndex() == 0);
    mChart->setFocus();
}

QWidget* SpectrumWindow::makeChoices()
{
    auto* const widget = new QWidget;
    auto* const row = new QHBoxLayout(widget);
    row->setContentsMargins(0, 0, 0, 0);
    QStringList sizes;
    for (size_t size = SpectrumSettings::smallestSize; size <= SpectrumSettings::largestSize; size *= 2)
        sizes.append(QLocale().toString(static_cast<qulonglong>(size)));
    //% "&Frames:"
    mSize = addChoice(*row, qtTrId("spectrum-size"), sizes, kSizeKey, kDefaultSizeIndex);
    //% "&Window:"
    mWindowKind = addChoice(*row, qtTrId("spectrum-window"),
                            {
                                //% "Hann"
                                qtTrId("spectrum-hann"),
                                //% "Hamming"
                                qtTrId("spectrum-hamming"),
                                //% "Blackman-Harris"
                                qtTrId("spectrum-blackman-harris"),
                                //% "Flat top"
                                qtTrId("spectrum-flat-top"),
                                //% "Rectangular"
                                qtTrId("spectrum-rectangular"),
                            },
                            kWindowKey, 0);
    mAxis = addChoice(*row,
                      //% "A&xis:"
                      qtTrId("spectrum-axis"),
                      {
                          //% "Logarithmic"
                          qtTrId("spectrum-logarithmic"),
                          //% "Linear"
                          qtTrId("spectrum-linear"),
                      },
                      kAxisKey, 0);
    row->addStretch(1);
    for (QComboBox* const field : {mSize, mWindowKind})
        connect(field, &QComboBox::activated, this, &SpectrumWindow::measure);
    connect(mAxis, &QComboBox::activated, this, [this](int index) {
        mChart->setLogarithmic(index == 0);
        UserDefaults::standard().setValue(kAxisKey, index);
    });
    return widget;
}

QWidget* SpectrumWindow::makeButtons()
{
    auto* const widget = new QWidget;
    auto* const row = new QHBoxLayout(widget);
    row->setContentsMargins(0, 0, 0, 0);
    const auto add = [&](const QString& text, const std::function<void()>& run) {
        auto* const button = new QPushButton(text);
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, run);
        row->addWidget(button);
        return button;
    };
    //% "Save &Text…"
    add(qtTrId("spectrum-save-text"), [this] {
        //% "Save the spectrum as text"
        save(qtTrId("spectrum-text-title"), QStringLiteral("txt"), QStringLiteral("*.txt"),
             &SpectrumWindow::writeText);
    });
    //% "Save &Picture…"
    add(qtTrId("spectrum-save-picture"), [this] {
        //% "Save the spectrum as a picture"
        save(qtTrId("spectrum-picture-title"), QStringLiteral("png"), QStringLiteral("*.png"),
             &SpectrumWindow::writePicture);
    });
    row->addStretch(1);
    //% "Look at the &Selection"
    add(qtTrId("spectrum-again"), [this] { measure(); });
    add(qtTrId("close"), [this] { close(); });
    return widget;
}

SpectrumSettings SpectrumWindow::settings() const
{
    SpectrumSettings settings;
    settings.size = SpectrumSettings::smallestSize << mSize->currentIndex();
    settings.window = static_cast<SpectrumSettings::Window>(mWindowKind->currentIndex());
    return settings;
}

void SpectrumWindow::measure()
{
    UserDefaults::standard().setValue(kSizeKey, mSize->currentIndex());
    UserDefaults::standard().setValue(kWindowKey, mWindowKind->currentIndex());
    const AnalysedSound sound = mSound();
    MaybeError error;
    std::optional<AverageSpectrum> spectrum;
    {
        ProgressSheet progress(windowTitle(), isVisible() ? this : parentWidget());
        spectrum = AverageSpectrum::ofTracks(sound.tracks, sound.sampleRate, sound.offset, sound.numFrames,
                                             settings(), progress, &error);
    }
    if (!spectrum) {
        WindowAlerts alerts(this);
        reportError(alerts, error);
        return;
    }
    mSpectrum = spectrum;
    mDocumentName = sound.documentName;
    mPart->setText(sound.description());
    mPart->setToolTip(sound.description().toHtmlEscaped());
    mChart->showSpectrum(std::move(*spectrum), sound.trackNames);
}

void SpectrumWindow::save(const QString& title, const QString& suffix, const QString& filter,
                          bool (SpectrumWindow::*write)(const QString&))
{
    if (!mSpectrum)
        return;
    const QString name = QFileInfo(mDocumentName).completeBaseName() + QStringLiteral(" spectrum.") + suffix;
    QString path =
        QFileDialog::getSaveFileName(this, title, QDir(FolderMemory::folderFor({})).filePath(name), filter);
    if (path.isEmpty())
        return;
    if (QFileInfo(path).suffix().isEmpty())
        path += u'.' + suffix;
    (this->*write)(path);
}

bool SpectrumWindow::writeText(const QString& path)
{
    return mSpectrum && writeBytes(path, mSpectrum->text().toUtf8());
}

bool SpectrumWindow::writePicture(const QString& path)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    return mChart->grab().save(&buffer, "PNG") && writeBytes(path, bytes);
}

bool SpectrumWindow::writeBytes(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit())
        return true;
    WindowAlerts(this).showError(file.errorString());
    return false;
}

} // namespace velloria
