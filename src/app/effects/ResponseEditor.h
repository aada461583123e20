#pragma once

#include <QWidget>
#include <functional>

namespace velloria
{

class Filter;
class FrequencyResponse;
class ResponseChart;
class ValueField;

/// The frequency response of an equaliser or filter in its dialog: the chart, whose handles change the
/// effect's parameters, and for a free curve fields for the chosen point.
class ResponseEditor : public QWidget
{
    Q_OBJECT

public:
    /// Runs what changes the effect, between two blocks of what is heard.
    using Change = std::function<void(const std::function<void()>& setParameters)>;

    /// Null for an effect without a response. The effect outlives it.
    static ResponseEditor* create(Filter& filter, const Change& change, QWidget* parent);

    ResponseChart& chart() const { return *mChart; }
    /// Null where the points are no free curve.
    ValueField* frequencyField() const { return mFrequency; }
    ValueField* gainField() const { return mGain; }
    /// Shows what the effect has now.
    void refresh();
    /// Whether a parameter means anything at the sound's sample rate.
    bool hasEffect(size_t parameter) const;

private:
    ResponseEditor(Filter& filter, const FrequencyResponse& response, const Change& change, QWidget* parent);
    void addFields();
    void showChosen();
    void takeTyped();
    void moveHandle(int index, double frequency, double gainDB);
    void narrowHandle(int index, int numSteps);
    void addPoint(double frequency, double gainDB);
    void removePoint(int index);
    void setPoints(const std::vector<double>& numbers);

    Filter& mFilter;
    const FrequencyResponse& mResponse;
    Change mChange;
    ResponseChart* mChart;
    ValueField* mFrequency = nullptr;
    ValueField* mGain = nullptr;
};

} // namespace velloria
