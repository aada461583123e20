#pragma once

#include "effects/frame/ParameterDescription.h"

#include <QObject>
#include <vector>

class QCheckBox;
class QComboBox;
class QGridLayout;
class QLabel;
class QSlider;
class QToolButton;

namespace velloria
{

class ValueField;

/// One parameter in an effect's dialog: its name, a slider with a field for typed values (or a check box, or
/// a pop-up), and a button that brings the default back. It shows the value that it is given and keeps all of
/// its digits; it tells what a person changed, and nothing else.
class ParameterRow : public QObject
{
    Q_OBJECT

public:
    /// Adds its widgets to a row of the grid; they belong to `parent`.
    ParameterRow(const ParameterDescription& description, QGridLayout& grid, int row, QWidget* parent);

    double value() const { return mValue; }
    /// Shows a value, and tells nobody.
    void showValue(double value);
    /// As a person chooses one.
    void setValue(double value);
    /// Rows that mean nothing at the moment are greyed.
    void setEnabled(bool isEnabled);
    const ParameterDescription& description() const { return mDescription; }
    /// What the keyboard goes to first.
    QWidget* editor() const;

    /// From 0 to 1 along the slider. Ranges over several powers of ten, frequencies say, are laid out
    /// logarithmically.
    static double positionOfValue(const ParameterDescription& description, double value);
    static double valueOfPosition(const ParameterDescription& description, double position);

Q_SIGNALS:
    /// A person chose another value.
    void edited(double value);

private:
    void addNumber(QGridLayout& grid, int row, QWidget* parent);
    void addToggle(QGridLayout& grid, int row, QWidget* parent);
    void addChoice(QGridLayout& grid, int row, QWidget* parent);
    QLabel* addLabel(QGridLayout& grid, int row, QWidget* parent) const;
    void addReset(QGridLayout& grid, int row, QWidget* parent);
    void showInSlider();
    void showInField();
    void edit(double value);
    void showReset();

    ParameterDescription mDescription;
    double mValue = 0;
    std::vector<QWidget*> mWidgets;
    QSlider* mSlider = nullptr;
    ValueField* mField = nullptr;
    QCheckBox* mCheckBox = nullptr;
    QComboBox* mPopUp = nullptr;
    QToolButton* mReset = nullptr;
};

} // namespace velloria
