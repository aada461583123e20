#include "app/effects/GeneratorDialog.h"

#include "app/effects/ParameterRow.h"
#include "app/look/ThemedIcon.h"
#include "platform/UserDefaults.h"

#include <QCoreApplication>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>
#include <limits>

namespace velloria
{

namespace
{

constexpr size_t kNoneHidden = std::numeric_limits<size_t>::max();

} // namespace

GeneratorDialog::GeneratorDialog(std::shared_ptr<Generator> generator, const QString& title,
                                 const QString& summary, double sampleRate, QWidget* parent)
    : GeneratorDialog(std::move(generator), title, summary, sampleRate, kNoneHidden, parent)
{
}

GeneratorDialog::GeneratorDialog(std::shared_ptr<Generator> generator, const QString& title,
                                 const QString& summary, double sampleRate, size_t hiddenParameter,
                                 QWidget* parent)
    : ParameterSheet(title, parent)
    , mGenerator(std::move(generator))
    , mDurationBefore(mGenerator->parameters().value(Generator::kDuration))
    , mPlace(new QVBoxLayout)
    , mPreview(std::make_unique<GeneratorPreview>(*mGenerator, sampleRate, [this](StopReason reason) {
        previewDidChange();
        showMessage(reason == StopReason::requested ? QString() : qtTrId("preview-device-lost"));
    }))
{
    addHeader(summary);
    column().addLayout(mPlace);
    const EffectParameters& parameters = mGenerator->parameters();
    addRows(parameters, [hiddenParameter](size_t index) { return index != hiddenParameter; });
    rows().front()->editor()->setFocus();
    addPreview();
    mPreviewButton->setVisible(hiddenParameter == kNoneHidden);
    mInsert = &addButtons(qtTrId("sheet-insert"));
    mObserver = mGenerator->parameters().addObserver(
        [this](size_t index) { followParameter(mGenerator->parameters(), index); });
}

GeneratorDialog::~GeneratorDialog()
{
    mPreview.reset();
    mGenerator->parameters().removeObserver(mObserver);
}

void GeneratorDialog::addPreview()
{
    mPreviewButton = new QPushButton(qtTrId("preview-play"), this);
    mPreviewButton->setCheckable(true);
    mPreviewButton->setAutoDefault(false);
    mPreviewButton->setIcon(ThemedIcon::named(QStringLiteral("toolbar-play")));
    //% "Hear the sound until it is stopped (Ctrl+Space)"
    mPreviewButton->setToolTip(qtTrId("generator-preview-tip"));
    column().addWidget(mPreviewButton, 0, Qt::AlignLeft);
    mMessage = new QLabel(this);
    mMessage->setWordWrap(true);
    mMessage->hide();
    column().addWidget(mMessage);
    connect(mPreviewButton, &QPushButton::clicked, this, [this](bool plays) {
        if (plays)
            startPreview();
        else
            mPreview->stop();
        previewDidChange();
    });
    connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Space), this), &QShortcut::activated,
            mPreviewButton, &QPushButton::click);
}

void GeneratorDialog::setParameter(size_t index, double value)
{
    mPreview->change([this, index, value] { mGenerator->parameters().setValue(index, value); });
}

void GeneratorDialog::resetParameters()
{
    mPreview->change([this] { mGenerator->parameters().reset(); });
}

bool GeneratorDialog::startPreview()
{
    if (mPreview->isRunning())
        return true;
    Q_EMIT previewWillStart();
    const MaybeError error = mPreview->start();
    showMessage(error ? error->message : QString());
    previewDidChange();
    return !error;
}

void GeneratorDialog::showMessage(const QString& message)
{
    mMessage->setText(message);
    mMessage->setVisible(!message.isEmpty());
}

QString GeneratorDialog::message() const
{
    return mMessage->text();
}

void GeneratorDialog::previewDidChange()
{
    const bool isPlaying = mPreview->isRunning();
    if (isPlaying != (mDeviceWatch != nullptr))
        mDeviceWatch = isPlaying
                           ? std::make_unique<OutputDeviceWatch>([this] { mPreview->moveToSelectedDevice(); })
                           : nullptr;
    mPreviewButton->setChecked(isPlaying);
    mPreviewButton->setIcon(
        ThemedIcon::named(isPlaying ? QStringLiteral("toolbar-play-on") : QStringLiteral("toolbar-play")));
}

void GeneratorDialog::done(int result)
{
    // Silent before the generator is used for something else.
    mDeviceWatch.reset();
    mPreview->end();
    const EffectParameters& parameters = mGenerator->parameters();
    if (result == QDialog::Accepted) {
        // A length that the selection gave, and that nobody touched, is none to be offered elsewhere.
        const QString& key = parameters[Generator::kDuration].settingsKey;
        const QVariant kept = UserDefaults::standard().value(key);
        const bool isOfSelection = parameters.value(Generator::kDuration) == mDurationBefore;
        parameters.saveSettings();
        if (isOfSelection && kept.isValid())
            UserDefaults::standard().setValue(key, kept);
        else if (isOfSelection)
            UserDefaults::standard().removeValue(key);
    }
    ParameterSheet::done(result);
}

} // namespace velloria
