#pragma once

#include "app/effects/ParameterSheet.h"
#include "controllers/OutputDeviceWatch.h"
#include "effects/generators/GeneratorPreview.h"

#include <memory>

class QLabel;

namespace velloria
{

/// The sheet of any generator, made from its description of its parameters. What a person changes is heard at
/// once while the preview plays. OK keeps the values for the next time.
class GeneratorDialog : public ParameterSheet
{
    Q_OBJECT

public:
    GeneratorDialog(std::shared_ptr<Generator> generator, const QString& title, const QString& summary,
                    double sampleRate, QWidget* parent);
    ~GeneratorDialog() override;

    GeneratorPreview& preview() { return *mPreview; }
    QPushButton& previewButton() { return *mPreviewButton; }
    QString message() const;
    void done(int result) override;

Q_SIGNALS:
    /// What else plays should stop.
    void previewWillStart();

protected:
    /// For a sheet with more in it: this parameter has no row, and the preview sounds only when it is asked
    /// to.
    GeneratorDialog(std::shared_ptr<Generator> generator, const QString& title, const QString& summary,
                    double sampleRate, size_t hiddenParameter, QWidget* parent);

    Generator& generator() { return *mGenerator; }
    /// Between header and rows.
    QVBoxLayout& place() { return *mPlace; }
    QPushButton& insertButton() { return *mInsert; }
    /// Opens the device if that was not done yet; false when it cannot, which the sheet says.
    bool startPreview();

private:
    void setParameter(size_t index, double value) override;
    void resetParameters() override;
    void addPreview();
    void showMessage(const QString& message);
    void previewDidChange();

    std::shared_ptr<Generator> mGenerator;
    double mDurationBefore = 0;
    QVBoxLayout* mPlace = nullptr;
    QPushButton* mPreviewButton = nullptr;
    QPushButton* mInsert = nullptr;
    QLabel* mMessage = nullptr;
    int mObserver = 0;
    std::unique_ptr<OutputDeviceWatch> mDeviceWatch; ///< while it plays
    std::unique_ptr<GeneratorPreview> mPreview;
};

} // namespace velloria
