#pragma once

#include <QDialog>
#include <memory>
#include <vector>

class QVBoxLayout;

namespace velloria
{

class Filter;
class ParameterRow;
class PreviewControls;

/// The dialog of any effect, made from the effect's own description of its parameters. It changes the
/// effect's values when OK is pressed, and keeps them for the next time; Cancel changes nothing. An effect
/// that has its source can be heard meanwhile.
class EffectDialog : public QDialog
{
    Q_OBJECT

public:
    EffectDialog(std::shared_ptr<Filter> filter, const QString& summary, QWidget* parent);

    const std::vector<ParameterRow*>& rows() const { return mRows; }
    /// Null for an effect without a source.
    PreviewControls* preview() const { return mPreview; }
    void done(int result) override;

Q_SIGNALS:
    /// What else plays should stop.
    void previewWillStart();

private:
    void addHeader(QVBoxLayout& layout, const QString& summary);
    void addParameters(QVBoxLayout& layout);
    void addPreview(QVBoxLayout& layout);
    void addButtons(QVBoxLayout& layout);
    void takeValues();

    std::shared_ptr<Filter> mFilter;
    std::vector<ParameterRow*> mRows;
    PreviewControls* mPreview = nullptr;
    std::vector<double> mValuesBefore;
};

} // namespace velloria
