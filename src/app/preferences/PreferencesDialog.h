#pragma once

#include <QDialog>

class QComboBox;
class QFormLayout;

namespace velloria
{

/// The preferences. A change counts at once, in every window.
class PreferencesDialog : public QDialog
{
    Q_OBJECT

public:
    explicit PreferencesDialog(QWidget* parent = nullptr);

private:
    void addNewDocuments(QFormLayout& form);
    void addView(QFormLayout& form);
    void addSnapping(QFormLayout& form);
    void addSaving(QFormLayout& form);
    /// A pop-up whose items stand for values of a preference.
    QComboBox* addPopUp(QFormLayout& form, const QString& label, const QString& key,
                        const std::vector<std::pair<QString, QVariant>>& items);
    void addCheckBox(QFormLayout& form, const QString& label, const QString& text, const QString& key);
    void addHeading(QFormLayout& form, const QString& text);
};

} // namespace velloria
