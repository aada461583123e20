#include "app/effects/EffectDialog.h"

#include "app/effects/EffectMeters.h"
#include "app/effects/EnvelopeEditor.h"
#include "app/effects/ParameterRow.h"
#include "app/effects/PresetButton.h"
#include "app/effects/PreviewControls.h"
#include "app/effects/ResponseEditor.h"
#include "effects/frame/Filter.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

namespace velloria
{

namespace
{

constexpr int kSummaryWidth = 420;

} // namespace

EffectDialog::EffectDialog(std::shared_ptr<Filter> filter, const QString& summary, QWidget* parent)
    : QDialog(parent, Qt::Sheet)
    , mFilter(std::move(filter))
{
    setWindowModality(Qt::WindowModal);
    setWindowTitle(mFilter->name());
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(22, 18, 22, 16);
    layout->setSpacing(14);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    addHeader(*layout, summary);
    addResponse(*layout);
    addParameters(*layout);
    addPreview(*layout);
    addButtons(*layout);
    const auto first = std::find_if(mRows.begin(), mRows.end(), [](ParameterRow* row) { return row; });
    if (first != mRows.end())
        (*first)->editor()->setFocus();
    else if (mEnvelope)
        mEnvelope->setFocus();
    else if (mResponse)
        mResponse->setFocus();
    mObserver = mFilter->parameters().addObserver([this](size_t index) { parameterDidChange(index); });
}

EffectDialog::~EffectDialog()
{
    mFilter->parameters().removeObserver(mObserver);
}

void EffectDialog::addHeader(QVBoxLayout& layout, const QString& summary)
{
    auto* const title = new QLabel(mFilter->name(), this);
    QFont font = title->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.25);
    title->setFont(font);
    auto* const header = new QVBoxLayout;
    header->setSpacing(4);
    auto* const first = new QHBoxLayout;
    first->addWidget(title);
    first->addStretch(1);
    addPresets(*first);
    header->addLayout(first);
    if (!summary.isEmpty()) {
        auto* const text = new QLabel(summary, this);
        text->setWordWrap(true);
        text->setMinimumWidth(kSummaryWidth);
        text->setForegroundRole(QPalette::PlaceholderText);
        header->addWidget(text);
    }
    layout.addLayout(header);
}

void EffectDialog::addResponse(QVBoxLayout& layout)
{
    mResponse = ResponseEditor::create(
        *mFilter, [this](const std::function<void()>& setParameters) { edit(setParameters); }, this);
    if (mResponse)
        layout.addWidget(mResponse);
}

void EffectDialog::addPresets(QHBoxLayout& layout)
{
    if (!mFilter->presetFormat())
        return;
    mPresets = new PresetButton(
        *mFilter, [this](const std::function<void()>& setParameters) { change(setParameters); }, this);
    //% "Pre&set:"
    auto* const label = new QLabel(qtTrId("preset-label"), this);
    label->setBuddy(mPresets);
    layout.addWidget(label);
    layout.addWidget(mPresets);
}

void EffectDialog::addParameters(QVBoxLayout& layout)
{
    auto* const grid = new QGridLayout;
    grid->setHorizontalSpacing(12);
    grid->setVerticalSpacing(10);
    grid->setColumnStretch(1, 1);
    layout.addLayout(grid);
    const EffectParameters& parameters = mFilter->parameters();
    for (size_t i = 0; i < parameters.size(); ++i) {
        mValuesBefore.push_back(parameters.value(i));
        mListsBefore.push_back(parameters.list(i));
        mRows.push_back(nullptr);
        if (parameters[i].isList()) {
            if (!mResponse)
                addEnvelope(layout, i);
            continue;
        }
        auto* const row = new ParameterRow(parameters[i], *grid, static_cast<int>(i), this);
        mRows.back() = row;
        row->showValue(parameters.value(i));
        connect(row, &ParameterRow::edited, this,
                [this, i](double value) { edit([this, i, value] { mFilter->editParameter(i, value); }); });
    }
    showWhatIsUsed();
}

void EffectDialog::addEnvelope(QVBoxLayout& layout, size_t index)
{
    mEnvelope = new EnvelopeEditor(this);
    mEnvelope->showNumbers(mFilter->parameters().list(index));
    layout.addWidget(mEnvelope);
    connect(mEnvelope, &EnvelopeEditor::edited, this, [this, index](const std::vector<double>& numbers) {
        edit([this, index, &numbers] { mFilter->parameters().setList(index, numbers); });
    });
}

void EffectDialog::change(const std::function<void()>& setParameters)
{
    if (mPreview)
        mPreview->change(setParameters);
    else
        setParameters();
}

void EffectDialog::edit(const std::function<void()>& setParameters)
{
    change(setParameters);
    if (mPresets)
        mPresets->userDidChangeParameters();
}

void EffectDialog::parameterDidChange(size_t index)
{
    const EffectParameters& parameters = mFilter->parameters();
    // What a person is typing is not touched: it is what the effect has taken.
    if (ParameterRow* const row = mRows[index]; row && row->value() != parameters.value(index))
        row->showValue(parameters.value(index));
    if (mEnvelope && parameters[index].isList())
        mEnvelope->showNumbers(parameters.list(index));
    if (mResponse)
        mResponse->refresh();
    showWhatIsUsed();
}

void EffectDialog::showWhatIsUsed()
{
    for (size_t i = 0; i < mRows.size(); ++i)
        if (mRows[i])
            mRows[i]->setEnabled(mFilter->parameters().isUsed(i) && (!mResponse || mResponse->hasEffect(i)));
}

void EffectDialog::addButtons(QVBoxLayout& layout)
{
    auto* const buttons = new QDialogButtonBox(
        QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::RestoreDefaults, this);
    //% "Defaults"
    buttons->button(QDialogButtonBox::RestoreDefaults)->setText(qtTrId("effect-defaults"));
    //% "OK"
    buttons->button(QDialogButtonBox::Ok)->setText(qtTrId("ok"));
    buttons->button(QDialogButtonBox::Cancel)->setText(qtTrId("cancel"));
    buttons->button(QDialogButtonBox::Ok)->setDefault(true);
    layout.addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &EffectDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &EffectDialog::reject);
    connect(buttons->button(QDialogButtonBox::RestoreDefaults), &QPushButton::clicked, this,
            [this] { edit([this] { mFilter->parameters().reset(); }); });
}

void EffectDialog::addPreview(QVBoxLayout& layout)
{
    if (!mFilter->source())
        return;
    mPreview = new PreviewControls(*mFilter, this);
    layout.addWidget(mPreview);
    connect(mPreview, &PreviewControls::willPlay, this, &EffectDialog::previewWillStart);
    if (!mFilter->lowersGain())
        return;
    auto* const meters =
        new EffectMeters([this] { return mPreview ? mPreview->takeHeardLevels() : std::nullopt; }, this);
    layout.addWidget(meters);
    connect(mPreview, &PreviewControls::playingChanged, meters, &EffectMeters::setRunning);
}

void EffectDialog::done(int result)
{
    // Silent before the effect is used for something else.
    delete std::exchange(mPreview, nullptr);
    EffectParameters& parameters = mFilter->parameters();
    if (result == QDialog::Accepted) {
        parameters.saveSettings();
        if (mPresets)
            mPresets->preset().saveDefaults();
    } else {
        for (size_t i = 0; i < mValuesBefore.size(); ++i) {
            parameters.setValue(i, mValuesBefore[i]);
            parameters.setList(i, mListsBefore[i]);
        }
    }
    QDialog::done(result);
}

} // namespace velloria
