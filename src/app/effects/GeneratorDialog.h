#pragma once

#include "controllers/OutputDeviceWatch.h"
#include "effects/generators/GeneratorPreview.h"

#include <QDialog>
#include <memory>
#include <vector>

class QDialogButtonBox;
class QLabel;
class QPushButton;
class QVBoxLayout;

namespace velloria
{

class ParameterRow;

/// The sheet of any generator, made from its description of its parameters. What a person changes is heard at
/// once while the preview plays. OK keeps the values for the next time.
class GeneratorDialog : public QDialog
{
    Q_OBJECT

public:
    GeneratorDialog(std::shared_ptr<Generator> generator, const QString& title, const QString& summary,
                    double sampleRate, QWidget* parent);
    ~GeneratorDialog() override;

    /// One a parameter, in their order; null for what something else shows.
    const std::vector<ParameterRow*>& rows() const { return mRows; }
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
    void addHeader(QVBoxLayout& layout, const QString& title, const QString& summary);
    void addRows(QVBoxLayout& layout, size_t hiddenParameter);
    void addPreview(QVBoxLayout& layout);
    void addButtons(QVBoxLayout& layout);
    void showMessage(const QString& message);
    void previewDidChange();

    std::shared_ptr<Generator> mGenerator;
    double mDurationBefore = 0;
    std::vector<ParameterRow*> mRows;
    QVBoxLayout* mPlace = nullptr;
    QPushButton* mPreviewButton = nullptr;
    QPushButton* mInsert = nullptr;
    QLabel* mMessage = nullptr;
    int mObserver = 0;
    std::unique_ptr<OutputDeviceWatch> mDeviceWatch; ///< while it plays
    std::unique_ptr<GeneratorPreview> mPreview;
};

} // namespace velloria
