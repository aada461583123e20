#pragma once

#include <QDialog>
#include <memory>
#include <vector>

class QVBoxLayout;

namespace velloria
{

class Filter;
class ParameterRow;

/// The dialog of any effect, made from the effect's own description of its parameters. It changes the
/// effect's values when OK is pressed, and keeps them for the next time; Cancel changes nothing.
class EffectDialog : public QDialog
{
    Q_OBJECT

public:
    EffectDialog(std::shared_ptr<Filter> filter, const QString& summary, QWidget* parent);

    const std::vector<ParameterRow*>& rows() const { return mRows; }
    void accept() override;

private:
    void addHeader(QVBoxLayout& layout, const QString& summary);
    void addParameters(QVBoxLayout& layout);
    void addButtons(QVBoxLayout& layout);

    std::shared_ptr<Filter> mFilter;
    std::vector<ParameterRow*> mRows;
};

} // namespace velloria
