#pragma once

#include <QWidget>
#include <vector>

namespace velloria
{

class EnvelopeChart;
class ValueField;

/// An envelope in an effect's dialog: its chart, and fields for the place and gain of the chosen point. It
/// tells what a person changed, and nothing else.
class EnvelopeEditor : public QWidget
{
    Q_OBJECT

public:
    explicit EnvelopeEditor(QWidget* parent = nullptr);

    EnvelopeChart& chart() const { return *mChart; }
    ValueField& positionField() const { return *mPosition; }
    ValueField& gainField() const { return *mGain; }
    /// x0, y0, x1, y1, ...: x from 0 to 1, y a factor.
    void showNumbers(const std::vector<double>& numbers);

Q_SIGNALS:
    void edited(const std::vector<double>& numbers);

private:
    void addFields();
    void showChosen();
    void takeTyped();

    EnvelopeChart* mChart;
    ValueField* mPosition;
    ValueField* mGain;
};

} // namespace velloria
