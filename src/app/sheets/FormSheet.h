#pragma once

#include <QDialog>
#include <functional>

class QDialogButtonBox;
class QFormLayout;

namespace velloria
{

/// A small dialog on a window: rows of labels and fields, Cancel and one button that does it.
class FormSheet : public QDialog
{
    Q_OBJECT

public:
    FormSheet(const QString& title, const QString& okText, QWidget* parent);

    QFormLayout& form() { return *mForm; }
    /// A sentence over all columns, in the colour of captions.
    void addNote(const QString& text);
    /// The button can be pressed while this holds; asked again by check().
    void setCondition(std::function<bool()> isAcceptable);
    void check();
    bool ask();
    void setVisible(bool isVisible) override;

private:
    void putFocusInOrder();

    QFormLayout* mForm;
    QDialogButtonBox* mButtons;
    std::function<bool()> mIsAcceptable;
};

} // namespace velloria
