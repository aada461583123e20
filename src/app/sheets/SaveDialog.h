#pragma once

#include "document/SoundDocument.h"

#include <QFileDialog>

class QComboBox;
class QLabel;

namespace velloria
{

/// The dialog of Save As and Save Selection As: name and place, the file type, the type's option (sample size
/// or bit rate), and how large the file will be.
class SaveDialog : public QFileDialog
{
    Q_OBJECT

public:
    /// `request` holds the operation and the selection, if any; the dialog fills in path, type and option.
    SaveDialog(const SoundDocument& document, SaveRequest request, QWidget* parent);

    /// Waits for the person; nothing when cancelled.
    std::optional<SaveRequest> ask();

    const SaveRequest& request() const { return mRequest; }
    QComboBox& typePopUp() { return *mType; }
    QComboBox& optionPopUp() { return *mOption; }
    QLabel& sizeLabel() { return *mSize; }

    void accept() override;

private:
    void addAccessory();
    void fillTypes();
    void takeType();
    void addOption(const FileOption& option);
    void takeOption();
    void chooseStartingType();
    void giveNameAnExtension();

    const SoundDocument& mDocument;
    SaveRequest mRequest;
    QComboBox* mType;
    QLabel* mOptionLabel;
    QComboBox* mOption;
    QLabel* mSize;
};

} // namespace velloria
