#pragma once

#include <QDialog>
#include <functional>
#include <vector>

class QGridLayout;
class QHBoxLayout;
class QPushButton;
class QVBoxLayout;

namespace velloria
{

class EffectParameters;
class ParameterRow;

/// Base of the sheets of effects and generators: a heading, a row for each parameter, OK, Cancel and
/// Defaults. A row shows what the parameters are; what a person changes goes through setParameter(). Main
/// thread.
class ParameterSheet : public QDialog
{
    Q_OBJECT

public:
    /// One a parameter, in their order; null for what something else shows.
    const std::vector<ParameterRow*>& rows() const { return mRows; }

protected:
    ParameterSheet(const QString& title, QWidget* parent);

    QVBoxLayout& column() { return *mColumn; }
    /// The window's title in large letters, and below it the summary, if there is one. The answer is the row
    /// of the title, for what stands at its right.
    QHBoxLayout& addHeader(const QString& summary);
    /// A row for each parameter that `hasRow` answers true for.
    void addRows(const EffectParameters& parameters, const std::function<bool(size_t)>& hasRow);
    /// Answers OK.
    QPushButton& addButtons(const QString& okText);
    /// What a person is typing is not touched: it is what the parameter has become.
    void followParameter(const EffectParameters& parameters, size_t index);

    /// A person chose another value.
    virtual void setParameter(size_t index, double value) = 0;
    virtual void resetParameters() = 0;

private:
    QVBoxLayout* mColumn;
    std::vector<ParameterRow*> mRows;
};

} // namespace velloria
