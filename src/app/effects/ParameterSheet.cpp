#include "app/effects/ParameterSheet.h"

#include "app/effects/ParameterRow.h"
#include "effects/frame/EffectParameters.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace velloria
{

namespace
{

constexpr int kSummaryWidth = 420;
constexpr double kTitleSize = 1.25; ///< of ordinary letters

} // namespace

ParameterSheet::ParameterSheet(const QString& title, QWidget* parent)
    : QDialog(parent, Qt::Sheet)
    , mColumn(new QVBoxLayout(this))
{
    setWindowModality(Qt::WindowModal);
    setWindowTitle(title);
    mColumn->setContentsMargins(22, 18, 22, 16);
    mColumn->setSpacing(14);
    mColumn->setSizeConstraint(QLayout::SetFixedSize);
}

QHBoxLayout& ParameterSheet::addHeader(const QString& summary)
{
    auto* const title = new QLabel(windowTitle(), this);
    QFont font = title->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * kTitleSize);
    title->setFont(font);
    auto* const first = new QHBoxLayout;
    first->addWidget(title);
    first->addStretch(1);
    auto* const header = new QVBoxLayout;
    header->setSpacing(4);
    header->addLayout(first);
    if (!summary.isEmpty()) {
        auto* const text = new QLabel(summary, this);
        text->setWordWrap(true);
        text->setMinimumWidth(kSummaryWidth);
        text->setForegroundRole(QPalette::PlaceholderText);
        header->addWidget(text);
    }
    mColumn->addLayout(header);
    return *first;
}

void ParameterSheet::addRows(const EffectParameters& parameters, const std::function<bool(size_t)>& hasRow)
{
    auto* const grid = new QGridLayout;
    grid->setHorizontalSpacing(12);
    grid->setVerticalSpacing(10);
    grid->setColumnStretch(1, 1);
    mColumn->addLayout(grid);
    for (size_t i = 0; i < parameters.size(); ++i) {
        mRows.push_back(nullptr);
        if (!hasRow(i))
            continue;
        auto* const row = new ParameterRow(parameters[i], *grid, static_cast<int>(i), this);
        mRows.back() = row;
        row->showValue(parameters.value(i));
        connect(row, &ParameterRow::edited, this, [this, i](double value) { setParameter(i, value); });
    }
}

QPushButton& ParameterSheet::addButtons(const QString& okText)
{
    auto* const buttons = new QDialogButtonBox(
        QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::RestoreDefaults, this);
    QPushButton& ok = *buttons->button(QDialogButtonBox::Ok);
    ok.setText(okText);
    ok.setDefault(true);
    buttons->button(QDialogButtonBox::Cancel)->setText(qtTrId("cancel"));
    QPushButton* const defaults = buttons->button(QDialogButtonBox::RestoreDefaults);
    //% "Defaults"
    defaults->setText(qtTrId("effect-defaults"));
    mColumn->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &ParameterSheet::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &ParameterSheet::reject);
    connect(defaults, &QPushButton::clicked, this, [this] { resetParameters(); });
    return ok;
}

void ParameterSheet::followParameter(const EffectParameters& parameters, size_t index)
{
    if (ParameterRow* const row = mRows[index]; row && row->value() != parameters.value(index))
        row->showValue(parameters.value(index));
}

} // namespace velloria
