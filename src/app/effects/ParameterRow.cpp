#include "app/effects/ParameterRow.h"

#include "app/effects/ValueField.h"
#include "app/look/EffectWords.h"
#include "app/look/ThemedIcon.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QGridLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QSlider>
#include <QToolButton>
#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kSliderSteps = 2000;
constexpr int kSliderWidth = 220;
constexpr int kFieldWidth = 120;
constexpr double kLogarithmicAboveRatio = 200;
constexpr double kWidestTyped = 1e9;
constexpr double kStepsPerRange = 100;

bool isLogarithmic(const ParameterDescription& description)
{
    return description.minimum > 0 && description.maximum / description.minimum >= kLogarithmicAboveRatio;
}

/// A step of the field: 1, 2 or 5 of a power of ten, about a hundredth of the range.
double roundStep(const ParameterDescription& description)
{
    const double rough =
        (description.maximum - description.minimum) * description.shownFactor / kStepsPerRange;
    const double finest = std::pow(10.0, -description.decimals);
    if (!(rough > finest))
        return finest;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    const double digit = rough / power;
    return power * (digit < 1.5 ? 1 : digit < 3.5 ? 2 : digit < 7.5 ? 5 : 10);
}

} // namespace

double ParameterRow::positionOfValue(const ParameterDescription& description, double value)
{
    const double clamped = std::clamp(value, description.minimum, description.maximum);
    if (!(description.maximum > description.minimum))
        return 0;
    if (isLogarithmic(description))
        return std::log(clamped / description.minimum) / std::log(description.maximum / description.minimum);
    return (clamped - description.minimum) / (description.maximum - description.minimum);
}

double ParameterRow::valueOfPosition(const ParameterDescription& description, double position)
{
    const double exact =
        isLogarithmic(description)
            ? description.minimum * std::pow(description.maximum / description.minimum, position)
            : description.minimum + position * (description.maximum - description.minimum);
    const double unit = std::pow(10.0, -description.decimals) / description.shownFactor;
    return std::clamp(std::round(exact / unit) * unit, description.minimum, description.maximum);
}

ParameterRow::ParameterRow(const ParameterDescription& description, QGridLayout& grid, int row,
                           QWidget* parent)
    : QObject(parent)
    , mDescription(EffectWords::translated(description))
{
    switch (description.kind) {
    case ParameterDescription::Kind::toggle:
        addToggle(grid, row, parent);
        break;
    case ParameterDescription::Kind::choice:
        addChoice(grid, row, parent);
        break;
    case ParameterDescription::Kind::number:
    case ParameterDescription::Kind::list: // No row shows one: a view of its own does.
        addNumber(grid, row, parent);
        break;
    }
    editor()->setAccessibleName(mDescription.name);
    editor()->setAccessibleDescription(mDescription.summary);
    addReset(grid, row, parent);
    showValue(description.defaultValue);
}

QLabel* ParameterRow::addLabel(QGridLayout& grid, int row, QWidget* parent) const
{
    auto* const label = new QLabel(mDescription.name, parent);
    label->setToolTip(mDescription.summary);
    grid.addWidget(label, row, 0, Qt::AlignRight | Qt::AlignVCenter);
    return label;
}

void ParameterRow::addNumber(QGridLayout& grid, int row, QWidget* parent)
{
    QLabel* const label = addLabel(grid, row, parent);
    mSlider = new QSlider(Qt::Horizontal, parent);
    mSlider->setRange(0, kSliderSteps);
    mSlider->setPageStep(kSliderSteps / 10);
    mSlider->setSingleStep(kSliderSteps / 100);
    mSlider->setMinimumWidth(kSliderWidth);
    mSlider->setAccessibleName(mDescription.name);
    mSlider->setToolTip(mDescription.summary);
    mField = new ValueField(mDescription.decimals, parent);
    mField->setRange(std::max(mDescription.hardMinimum * mDescription.shownFactor, -kWidestTyped),
                     std::min(mDescription.hardMaximum * mDescription.shownFactor, kWidestTyped));
    mField->setSingleStep(roundStep(mDescription));
    if (!mDescription.unit.isEmpty())
        mField->setSuffix(QChar(0x202f) + mDescription.unit);
    mField->setFixedWidth(kFieldWidth);
    label->setBuddy(mField);
    grid.addWidget(mSlider, row, 1);
    grid.addWidget(mField, row, 2);
    mWidgets = {label, mSlider, mField};
    connect(mSlider, &QSlider::valueChanged, this, [this](int position) {
        edit(valueOfPosition(mDescription, static_cast<double>(position) / kSliderSteps));
        showInField();
    });
    connect(mField, &QDoubleSpinBox::valueChanged, this, [this](double shown) {
        edit(shown / mDescription.shownFactor);
        showInSlider();
    });
}

void ParameterRow::addToggle(QGridLayout& grid, int row, QWidget* parent)
{
    mCheckBox = new QCheckBox(mDescription.name, parent);
    mCheckBox->setToolTip(mDescription.summary);
    grid.addWidget(mCheckBox, row, 1, 1, 2);
    mWidgets = {mCheckBox};
    connect(mCheckBox, &QCheckBox::toggled, this, [this](bool isOn) { edit(isOn ? 1.0 : 0.0); });
}

void ParameterRow::addChoice(QGridLayout& grid, int row, QWidget* parent)
{
    QLabel* const label = addLabel(grid, row, parent);
    mPopUp = new QComboBox(parent);
    const QString unit = mDescription.unit.isEmpty() ? QString() : QChar(0x202f) + mDescription.unit;
    for (const QString& choice : mDescription.choices)
        mPopUp->addItem(choice + unit);
    mPopUp->setToolTip(mDescription.summary);
    label->setBuddy(mPopUp);
    grid.addWidget(mPopUp, row, 1, 1, 2, Qt::AlignLeft);
    mWidgets = {label, mPopUp};
    connect(mPopUp, &QComboBox::currentIndexChanged, this, [this](int index) { edit(index); });
}

void ParameterRow::addReset(QGridLayout& grid, int row, QWidget* parent)
{
    mReset = new QToolButton(parent);
    mReset->setAutoRaise(true);
    mReset->setIcon(ThemedIcon::named(QStringLiteral("reset")));
    mReset->setFocusPolicy(Qt::NoFocus);
    //: Tool tip and accessible name of a button beside a parameter
    //% "Back to the default"
    mReset->setToolTip(qtTrId("effect-reset-one"));
    mReset->setAccessibleName(qtTrId("effect-reset-one"));
    QSizePolicy policy = mReset->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    mReset->setSizePolicy(policy);
    grid.addWidget(mReset, row, 3);
    mWidgets.push_back(mReset);
    connect(mReset, &QToolButton::clicked, this, [this] { setValue(mDescription.defaultValue); });
}

void ParameterRow::setValue(double value)
{
    showValue(mDescription.allowedValue(value).value_or(mValue));
    Q_EMIT edited(mValue);
}

void ParameterRow::showValue(double value)
{
    mValue = value;
    if (mField) {
        showInField();
        showInSlider();
    } else if (mCheckBox) {
        const QSignalBlocker blocker(mCheckBox);
        mCheckBox->setChecked(value != 0.0);
    } else {
        const QSignalBlocker blocker(mPopUp);
        mPopUp->setCurrentIndex(static_cast<int>(value));
    }
    showReset();
}

void ParameterRow::setEnabled(bool isEnabled)
{
    for (QWidget* const widget : mWidgets)
        widget->setEnabled(isEnabled);
}

void ParameterRow::showInSlider()
{
    const QSignalBlocker blocker(mSlider);
    mSlider->setValue(static_cast<int>(std::lround(positionOfValue(mDescription, mValue) * kSliderSteps)));
}

void ParameterRow::showInField()
{
    // What somebody types is not written anew while they type it.
    if (mField->value() == mValue * mDescription.shownFactor)
        return;
    const QSignalBlocker blocker(mField);
    mField->setValue(mValue * mDescription.shownFactor);
}

QWidget* ParameterRow::editor() const
{
    if (mField)
        return mField;
    if (mCheckBox)
        return mCheckBox;
    return mPopUp;
}

void ParameterRow::edit(double value)
{
    mValue = value;
    showReset();
    Q_EMIT edited(value);
}

void ParameterRow::showReset()
{
    // A button that would do nothing is not there. Values count as equal when they read so.
    const double unit = std::pow(10.0, -mDescription.decimals) / mDescription.shownFactor;
    if (mReset)
        mReset->setVisible(std::abs(mValue - mDescription.defaultValue) >= unit / 2);
}

} // namespace velloria
