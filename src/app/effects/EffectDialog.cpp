#include "app/effects/EffectDialog.h"

#include "app/effects/ParameterRow.h"
#include "app/effects/PreviewControls.h"
#include "effects/Filter.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
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
    addParameters(*layout);
    addPreview(*layout);
    addButtons(*layout);
    if (!mRows.empty())
        mRows.front()->editor()->setFocus();
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
    header->addWidget(title);
    if (!summary.isEmpty()) {
        auto* const text = new QLabel(summary, this);
        text->setWordWrap(true);
        text->setMinimumWidth(kSummaryWidth);
        text->setForegroundRole(QPalette::PlaceholderText);
        header->addWidget(text);
    }
    layout.addLayout(header);
}

void EffectDialog::addParameters(QVBoxLayout& layout)
{
    auto* const grid = new QGridLayout;
    grid->setHorizontalSpacing(12);
    grid->setVerticalSpacing(10);
    grid->setColumnStretch(1, 1);
    layout.addLayout(grid);
    const std::vector<ParameterDescription>& parameters = mFilter->parameters();
    for (size_t i = 0; i < parameters.size(); ++i) {
        auto* const row = new ParameterRow(parameters[i], *grid, static_cast<int>(i), this);
        row->setValue(mFilter->parameterValue(i));
        mValuesBefore.push_back(mFilter->parameterValue(i));
        mRows.push_back(row);
    }
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
    connect(buttons->button(QDialogButtonBox::RestoreDefaults), &QPushButton::clicked, this, [this] {
        for (ParameterRow* const row : mRows)
            row->setValue(row->description().defaultValue);
    });
}

void EffectDialog::addPreview(QVBoxLayout& layout)
{
    if (!mFilter->source())
        return;
    mPreview = new PreviewControls(*mFilter, this);
    layout.addWidget(mPreview);
    connect(mPreview, &PreviewControls::willPlay, this, [this] {
        Q_EMIT previewWillStart();
        takeValues();
    });
    for (size_t i = 0; i < mRows.size(); ++i)
        connect(mRows[i], &ParameterRow::valueChanged, this, [this, i](double value) {
            if (mPreview && mPreview->isPlaying())
                mPreview->change([this, i, value] { mFilter->setParameterValue(i, value); });
        });
}

void EffectDialog::takeValues()
{
    for (size_t i = 0; i < mRows.size(); ++i)
        mFilter->setParameterValue(i, mRows[i]->value());
}

void EffectDialog::done(int result)
{
    // Silent before the effect is used for something else.
    delete std::exchange(mPreview, nullptr);
    if (result == QDialog::Accepted) {
        takeValues();
        mFilter->saveDefaults();
    } else {
        for (size_t i = 0; i < mValuesBefore.size(); ++i)
            mFilter->setParameterValue(i, mValuesBefore[i]);
    }
    QDialog::done(result);
}

} // namespace velloria
