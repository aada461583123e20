#include "app/effects/GeneratorDialog.h"

#include "app/effects/ParameterRow.h"
#include "app/look/ThemedIcon.h"
#include "platform/UserDefaults.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>
#include <limits>

namespace velloria
{

namespace
{

constexpr int kSummaryWidth = 420;
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
    : QDialog(parent, Qt::Sheet)
    , mGenerator(std::move(generator))
    , mDurationBefore(mGenerator->parameters().value(Generator::kDuration))
    , mPlace(new QVBoxLayout)
    , mPreview(std::make_unique<GeneratorPreview>(*mGenerator, sampleRate, [this](StopReason reason) {
        previewDidChange();
        showMessage(reason == StopReason::requested ? QString() : qtTrId("preview-device-lost"));
    }))
{
    setWindowModality(Qt::WindowModal);
    setWindowTitle(title);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(22, 18, 22, 16);
    layout->setSpacing(14);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    addHeader(*layout, title, summary);
    layout->addLayout(mPlace);
    addRows(*layout, hiddenParameter);
    addPreview(*layout);
    mPreviewButton->setVisible(hiddenParameter == kNoneHidden);
    addButtons(*layout);
    mObserver = mGenerator->parameters().addObserver([this](size_t index) {
        if (ParameterRow* const row = mRows[index];
            row && row->value() != mGenerator->parameters().value(index))
            row->showValue(mGenerator->parameters().value(index));
    });
}

GeneratorDialog::~GeneratorDialog()
{
    mPreview.reset();
    mGenerator->parameters().removeObserver(mObserver);
}

void GeneratorDialog::addHeader(QVBoxLayout& layout, const QString& title, const QString& summary)
{
    auto* const heading = new QLabel(title, this);
    QFont font = heading->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.25);
    heading->setFont(font);
    auto* const text = new QLabel(summary, this);
    text->setWordWrap(true);
    text->setMinimumWidth(kSummaryWidth);
    text->setForegroundRole(QPalette::PlaceholderText);
    auto* const header = new QVBoxLayout;
    header->setSpacing(4);
    header->addWidget(heading);
    header->addWidget(text);
    layout.addLayout(header);
}

void GeneratorDialog::addRows(QVBoxLayout& layout, size_t hiddenParameter)
{
    auto* const grid = new QGridLayout;
    grid->setHorizontalSpacing(12);
    grid->setVerticalSpacing(10);
    grid->setColumnStretch(1, 1);
    layout.addLayout(grid);
    EffectParameters& parameters = mGenerator->parameters();
    for (size_t i = 0; i < parameters.size(); ++i) {
        mRows.push_back(nullptr);
        if (i == hiddenParameter)
            continue;
        mRows.back() = new ParameterRow(parameters[i], *grid, static_cast<int>(i), this);
        mRows.back()->showValue(parameters.value(i));
        connect(mRows.back(), &ParameterRow::edited, this, [this, i](double value) {
            mPreview->change([this, i, value] { mGenerator->parameters().setValue(i, value); });
        });
    }
    mRows.front()->editor()->setFocus();
}

void GeneratorDialog::addPreview(QVBoxLayout& layout)
{
    mPreviewButton = new QPushButton(qtTrId("preview-play"), this);
    mPreviewButton->setCheckable(true);
    mPreviewButton->setAutoDefault(false);
    mPreviewButton->setIcon(ThemedIcon::named(QStringLiteral("toolbar-play")));
    //% "Hear the sound until it is stopped (Ctrl+Space)"
    mPreviewButton->setToolTip(qtTrId("generator-preview-tip"));
    layout.addWidget(mPreviewButton, 0, Qt::AlignLeft);
    mMessage = new QLabel(this);
    mMessage->setWordWrap(true);
    mMessage->hide();
    layout.addWidget(mMessage);
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

void GeneratorDialog::addButtons(QVBoxLayout& layout)
{
    auto* const buttons = new QDialogButtonBox(
        QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::RestoreDefaults, this);
    mInsert = buttons->button(QDialogButtonBox::Ok);
    mInsert->setText(qtTrId("sheet-insert"));
    mInsert->setDefault(true);
    buttons->button(QDialogButtonBox::Cancel)->setText(qtTrId("cancel"));
    QPushButton* const defaults = buttons->button(QDialogButtonBox::RestoreDefaults);
    defaults->setText(qtTrId("effect-defaults"));
    layout.addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &GeneratorDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &GeneratorDialog::reject);
    connect(defaults, &QPushButton::clicked, this,
            [this] { mPreview->change([this] { mGenerator->parameters().reset(); }); });
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
    QDialog::done(result);
}

} // namespace velloria
