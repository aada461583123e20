#include "app/EffectDialog.h"

#include "app/ParameterRow.h"
#include "effects/Filter.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

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

void EffectDialog::accept()
{
    for (size_t i = 0; i < mRows.size(); ++i)
        mFilter->setParameterValue(i, mRows[i]->value());
    mFilter->saveDefaults();
    QDialog::accept();
}

} // namespace velloria
