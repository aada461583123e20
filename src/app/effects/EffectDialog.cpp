#include "app/effects/EffectDialog.h"

#include "app/effects/EffectMeters.h"
#include "app/effects/EnvelopeEditor.h"
#include "app/effects/ParameterRow.h"
#include "app/effects/PresetButton.h"
#include "app/effects/PreviewControls.h"
#include "app/effects/ResponseEditor.h"
#include "app/look/EffectWords.h"
#include "effects/frame/Filter.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

namespace velloria
{

EffectDialog::EffectDialog(std::shared_ptr<Filter> filter, const QString& summary, QWidget* parent)
    : ParameterSheet(filter->name(), parent)
    , mFilter(std::move(filter))
{
    addPresets(addHeader(summary));
    addResponse();
    addParameters();
    addRemark();
    addPreview();
    //% "OK"
    addButtons(qtTrId("ok"));
    const auto first = std::find_if(rows().begin(), rows().end(), [](ParameterRow* row) { return row; });
    if (first != rows().end())
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

void EffectDialog::addResponse()
{
    mResponse = ResponseEditor::create(
        *mFilter, [this](const std::function<void()>& setParameters) { edit(setParameters); }, this);
    if (mResponse)
        column().addWidget(mResponse);
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

void EffectDialog::addParameters()
{
    const EffectParameters& parameters = mFilter->parameters();
    addRows(parameters, [&parameters](size_t index) { return !parameters[index].isList(); });
    for (size_t i = 0; i < parameters.size(); ++i) {
        mValuesBefore.push_back(parameters.value(i));
        mListsBefore.push_back(parameters.list(i));
        if (parameters[i].isList() && !mResponse)
            addEnvelope(i);
    }
    showWhatIsUsed();
}

/// What comes out of a measurement is only known when the effect is applied.
void EffectDialog::addRemark()
{
    if (mFilter->needsAnalysis() || !mFilter->source())
        return;
    mRemark = new QLabel(this);
    mRemark->setTextFormat(Qt::PlainText);
    mRemark->setWordWrap(true);
    column().addWidget(mRemark);
    showRemark();
}

void EffectDialog::showRemark()
{
    if (!mRemark)
        return;
    const std::optional<EffectRemark> remark = mFilter->remark();
    mRemark->setText(remark ? EffectWords::said(*remark) : QString());
    mRemark->setVisible(remark.has_value());
}

void EffectDialog::setParameter(size_t index, double value)
{
    edit([this, index, value] { mFilter->editParameter(index, value); });
}

void EffectDialog::resetParameters()
{
    edit([this] { mFilter->parameters().reset(); });
}

void EffectDialog::addEnvelope(size_t index)
{
    mEnvelope = new EnvelopeEditor(this);
    mEnvelope->showNumbers(mFilter->parameters().list(index));
    column().addWidget(mEnvelope);
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
    followParameter(parameters, index);
    if (mEnvelope && parameters[index].isList())
        mEnvelope->showNumbers(parameters.list(index));
    if (mResponse)
        mResponse->refresh();
    showWhatIsUsed();
    showRemark();
}

void EffectDialog::showWhatIsUsed()
{
    for (size_t i = 0; i < rows().size(); ++i)
        if (rows()[i])
            rows()[i]->setEnabled(mFilter->parameters().isUsed(i) && (!mResponse || mResponse->hasEffect(i)));
}

void EffectDialog::addPreview()
{
    if (!mFilter->source())
        return;
    mPreview = new PreviewControls(*mFilter, this);
    column().addWidget(mPreview);
    connect(mPreview, &PreviewControls::willPlay, this, &EffectDialog::previewWillStart);
    if (!mFilter->lowersGain())
        return;
    auto* const meters =
        new EffectMeters([this] { return mPreview ? mPreview->takeHeardLevels() : std::nullopt; }, this);
    column().addWidget(meters);
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
    ParameterSheet::done(result);
}

} // namespace velloria
