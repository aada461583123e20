#pragma once

#include "app/effects/ParameterSheet.h"

#include <memory>

class QLabel;

namespace velloria
{

class EnvelopeEditor;
class Filter;
class PresetButton;
class PreviewControls;
class ResponseEditor;

/// The dialog of any effect, made from the effect's own description of its parameters. What a person changes
/// is the effect's at once, and the rows follow whatever the effect changes itself. OK keeps the values for
/// the next time; Cancel brings back those before. An effect that has its source can be heard meanwhile.
class EffectDialog : public ParameterSheet
{
    Q_OBJECT

public:
    EffectDialog(std::shared_ptr<Filter> filter, const QString& summary, QWidget* parent);
    ~EffectDialog() override;

    /// Null for an effect without a source.
    PreviewControls* preview() const { return mPreview; }
    /// Null for an effect without presets.
    PresetButton* presets() const { return mPresets; }
    void done(int result) override;

Q_SIGNALS:
    /// What else plays should stop.
    void previewWillStart();

private:
    void setParameter(size_t index, double value) override;
    void resetParameters() override;
    void addResponse();
    void addParameters();
    void addRemark();
    void addEnvelope(size_t index);
    void addPreview();
    void addPresets(QHBoxLayout& layout);
    /// Changes the effect between two blocks of what is heard.
    void change(const std::function<void()>& setParameters);
    /// The same, as a person does it by hand.
    void edit(const std::function<void()>& setParameters);
    void parameterDidChange(size_t index);
    void showWhatIsUsed();
    void showRemark();

    std::shared_ptr<Filter> mFilter;
    EnvelopeEditor* mEnvelope = nullptr;
    ResponseEditor* mResponse = nullptr;
    PreviewControls* mPreview = nullptr;
    PresetButton* mPresets = nullptr;
    QLabel* mRemark = nullptr; ///< for an effect that knows before it is applied
    std::vector<double> mValuesBefore;
    std::vector<std::vector<double>> mListsBefore;
    int mObserver = 0;
};

} // namespace velloria
