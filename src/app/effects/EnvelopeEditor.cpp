#include "app/effects/EnvelopeEditor.h"

#include "app/effects/EnvelopeChart.h"
#include "app/effects/ValueField.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace velloria
{

namespace
{

constexpr double kPercent = 100.0;
constexpr double kHighestGainPercent = 10'000.0;
constexpr int kFieldWidth = 96;

} // namespace

EnvelopeEditor::EnvelopeEditor(QWidget* parent)
    : QWidget(parent)
    , mChart(new EnvelopeChart(this))
    , mPosition(new ValueField(1, this))
    , mGain(new ValueField(1, this))
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(mChart);
    addFields();
    setFocusProxy(mChart);
    connect(mChart, &EnvelopeChart::edited, this, [this] {
        showChosen();
        Q_EMIT edited(mChart->numbers());
    });
    connect(mChart, &EnvelopeChart::chosenChanged, this, &EnvelopeEditor::showChosen);
    for (ValueField* const field : {mPosition, mGain})
        connect(field, &QDoubleSpinBox::valueChanged, this, &EnvelopeEditor::takeTyped);
}

void EnvelopeEditor::addFields()
{
    auto* const row = new QHBoxLayout;
    row->setSpacing(8);
    static_cast<QVBoxLayout*>(layout())->addLayout(row);
    const auto add = [this, row](ValueField& field, const QString& name, double most) {
        auto* const label = new QLabel(name, this);
        label->setBuddy(&field);
        field.setRange(0, most);
        field.setMinimumWidth(kFieldWidth);
        //: Behind a typed number
        //% " %"
        field.setSuffix(qtTrId("envelope-percent-suffix"));
        row->addWidget(label);
        row->addWidget(&field);
    };
    //% "Poi&nt at:"
    add(*mPosition, qtTrId("envelope-position"), kPercent);
    //% "&Gain:"
    add(*mGain, qtTrId("envelope-gain"), kHighestGainPercent);
    row->addStretch(1);
}

void EnvelopeEditor::showNumbers(const std::vector<double>& numbers)
{
    mChart->showNumbers(numbers);
    showChosen();
}

void EnvelopeEditor::showChosen()
{
    const int chosen = mChart->chosen();
    for (ValueField* const field : {mPosition, mGain})
        field->setEnabled(chosen >= 0);
    if (chosen < 0)
        return;
    const QPointF point = mChart->points()[static_cast<size_t>(chosen)] * kPercent;
    // What somebody types is not written anew while they type it.
    const auto show = [](ValueField& field, double value) {
        const QSignalBlocker blocker(field);
        if (field.value() != value)
            field.setValue(value);
    };
    show(*mPosition, point.x());
    show(*mGain, point.y());
}

void EnvelopeEditor::takeTyped()
{
    mChart->moveChosen(QPointF(mPosition->value(), mGain->value()) / kPercent);
}

} // namespace velloria
