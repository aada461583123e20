#include "app/effects/ResponseEditor.h"

#include "app/effects/ResponseChart.h"
#include "app/effects/ValueField.h"
#include "effects/frame/Filter.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kHighestTyped = 96000.0;
constexpr double kMostTypedDB = 48.0;
constexpr int kFieldWidth = 110;
/// One step of the wheel.
constexpr double kWidthFactor = 1.1;
/// Points of a curve keep this distance.
constexpr double kNearest = 1.01;

/// The points of a curve in the order of their frequencies.
std::vector<ResponseBand> pointsOf(const std::vector<double>& numbers)
{
    std::vector<ResponseBand> points;
    for (size_t i = 0; i + 1 < numbers.size(); i += 2) {
        ResponseBand point;
        point.frequency = numbers[i];
        point.gainDB = numbers[i + 1];
        points.push_back(point);
    }
    std::stable_sort(points.begin(), points.end(),
                     [](const ResponseBand& a, const ResponseBand& b) { return a.frequency < b.frequency; });
    return points;
}

std::vector<double> numbersOf(const std::vector<ResponseBand>& points)
{
    std::vector<double> numbers;
    for (const ResponseBand& point : points)
        numbers.insert(numbers.end(), {point.frequency, point.gainDB});
    return numbers;
}

} // namespace

ResponseEditor* ResponseEditor::create(Filter& filter, const Change& change, QWidget* parent)
{
    const auto* const response = dynamic_cast<const FrequencyResponse*>(&filter);
    return response ? new ResponseEditor(filter, *response, change, parent) : nullptr;
}

ResponseEditor::ResponseEditor(Filter& filter, const FrequencyResponse& response, const Change& change,
                               QWidget* parent)
    : QWidget(parent)
    , mFilter(filter)
    , mResponse(response)
    , mChange(change)
    , mChart(new ResponseChart(this))
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(mChart);
    if (mResponse.curveParameter())
        addFields();
    setFocusProxy(mChart);
    connect(mChart, &ResponseChart::handleMoved, this, &ResponseEditor::moveHandle);
    connect(mChart, &ResponseChart::handleNarrowed, this, &ResponseEditor::narrowHandle);
    connect(mChart, &ResponseChart::pointAdded, this, &ResponseEditor::addPoint);
    connect(mChart, &ResponseChart::pointRemoved, this, &ResponseEditor::removePoint);
    connect(mChart, &ResponseChart::chosenChanged, this, &ResponseEditor::showChosen);
    refresh();
}

void ResponseEditor::addFields()
{
    auto* const row = new QHBoxLayout;
    row->setSpacing(8);
    static_cast<QVBoxLayout*>(layout())->addLayout(row);
    const auto add = [this, row](const QString& name, double least, double most, const QString& unit) {
        auto* const field = new ValueField(1, this);
        auto* const label = new QLabel(name, this);
        label->setBuddy(field);
        field->setRange(least, most);
        field->setMinimumWidth(kFieldWidth);
        field->setSuffix(QChar(0x202f) + unit);
        row->addWidget(label);
        row->addWidget(field);
        connect(field, &QDoubleSpinBox::valueChanged, this, &ResponseEditor::takeTyped);
        return field;
    };
    //% "Poi&nt at:"
    mFrequency = add(qtTrId("response-point"), 1.0, kHighestTyped, QStringLiteral("Hz"));
    //% "&Gain:"
    mGain = add(qtTrId("response-gain"), -kMostTypedDB, kMostTypedDB, QStringLiteral("dB"));
    row->addStretch(1);
}

void ResponseEditor::refresh()
{
    const std::optional<size_t> curve = mResponse.curveParameter();
    mChart->showResponse([this](double frequency) { return mResponse.responseAt(frequency); },
                         curve ? pointsOf(mFilter.parameters().list(*curve)) : mResponse.responseBands(),
                         mResponse.highestFrequency(), curve.has_value());
    showChosen();
}

bool ResponseEditor::hasEffect(size_t parameter) const
{
    return mResponse.hasEffect(parameter);
}

void ResponseEditor::showChosen()
{
    const int chosen = mChart->chosen();
    if (!mFrequency || chosen < 0)
        return;
    const ResponseBand& point = mChart->handles()[static_cast<size_t>(chosen)];
    // What somebody types is not written anew while they type it.
    for (const auto& [field, value] : {std::pair{mFrequency, point.frequency}, {mGain, point.gainDB}}) {
        const QSignalBlocker blocker(field);
        if (field->value() != value)
            field->setValue(value);
    }
}

void ResponseEditor::takeTyped()
{
    moveHandle(mChart->chosen(), mFrequency->value(), mGain->value());
}

void ResponseEditor::setPoints(const std::vector<double>& numbers)
{
    mChange([this, &numbers] { mFilter.parameters().setList(*mResponse.curveParameter(), numbers); });
}

void ResponseEditor::moveHandle(int index, double frequency, double gainDB)
{
    if (index < 0)
        return;
    const auto i = static_cast<size_t>(index);
    if (mResponse.curveParameter()) {
        std::vector<ResponseBand> points = mChart->handles();
        const double from = i > 0 ? points[i - 1].frequency * kNearest : 1.0;
        const double to = i + 1 < points.size() ? points[i + 1].frequency / kNearest : kHighestTyped;
        points[i].gainDB = gainDB;
        // A script may have put points where there is no room between.
        if (from <= to)
            points[i].frequency = std::clamp(frequency, from, to);
        return setPoints(numbersOf(points));
    }
    const ResponseBand handle = mChart->handles()[i];
    mChange([&] {
        if (handle.frequencyParameter && frequency != handle.frequency)
            mFilter.setParameterValue(*handle.frequencyParameter, frequency);
        if (handle.gainParameter && gainDB != handle.gainDB)
            mFilter.setParameterValue(*handle.gainParameter, gainDB);
    });
}

void ResponseEditor::narrowHandle(int index, int numSteps)
{
    const size_t width = *mChart->handles()[static_cast<size_t>(index)].widthParameter;
    const double value = mFilter.parameterValue(width);
    const bool isChoice = mFilter.parameters()[width].kind == ParameterDescription::Kind::choice;
    const double wanted = isChoice ? value + numSteps : value * std::pow(kWidthFactor, numSteps);
    mChange([&] { mFilter.setParameterValue(width, wanted); });
}

void ResponseEditor::addPoint(double frequency, double gainDB)
{
    std::vector<ResponseBand> points = mChart->handles();
    const auto isBehind = [frequency](const ResponseBand& point) { return point.frequency > frequency; };
    ResponseBand added;
    added.frequency = frequency;
    added.gainDB = gainDB;
    const auto place = points.insert(std::find_if(points.begin(), points.end(), isBehind), added);
    const auto index = static_cast<int>(place - points.begin());
    setPoints(numbersOf(points));
    mChart->choose(index);
}

void ResponseEditor::removePoint(int index)
{
    std::vector<ResponseBand> points = mChart->handles();
    points.erase(points.begin() + index);
    setPoints(numbersOf(points));
}

} // namespace velloria
