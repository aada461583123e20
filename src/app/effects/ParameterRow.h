#pragma once

#include "effects/ParameterDescription.h"

#include <QObject>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QGridLayout;
class QLabel;
class QSlider;
class QToolButton;

namespace velloria
{

/// One parameter in an effect's dialog: its name, a slider with a field for typed values (or a check box, or
/// a pop-up), and a button that brings the default back.
class ParameterRow : public QObject
{
    Q_OBJECT

public:
    /// Adds its widgets to a row of the grid; they belong to `parent`.
    ParameterRow(const ParameterDescription& description, QGridLayout& grid, int row, QWidget* parent);

    double value() const;
    void setValue(double value);
    const ParameterDescription& description() const { return mDescription; }
    /// What the keyboard goes to first.
    QWidget* editor() const;

    /// From 0 to 1 along the slider. Ranges over several powers of ten, frequencies say, are laid out
    /// logarithmically.
    static double positionOfValue(const ParameterDescription& description, double value);
    static double valueOfPosition(const ParameterDescription& description, double position);

Q_SIGNALS:
    void valueChanged(double value);

private:
    void addNumber(QGridLayout& grid, int row, QWidget* parent);
    void addToggle(QGridLayout& grid, int row, QWidget* parent);
    void addChoice(QGridLayout& grid, int row, QWidget* parent);
    QLabel* addLabel(QGridLayout& grid, int row, QWidget* parent) const;
    void addReset(QGridLayout& grid, int row, QWidget* parent);
    void moveSlider();
    void didChange();

    ParameterDescription mDescription;
    QSlider* mSlider = nullptr;
    QDoubleSpinBox* mField = nullptr;
    QCheckBox* mCheckBox = nullptr;
    QComboBox* mPopUp = nullptr;
    QToolButton* mReset = nullptr;
};

} // namespace velloria
