#pragma once

#include "app/sheets/FormSheet.h"
#include "document/MarkerSplitter.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;

namespace velloria
{

/// Asks how a document is split at its markers: format and its option, folder, names and the tags that all
/// pieces share.
class SplitSheet : public FormSheet
{
public:
    SplitSheet(const SoundDocument& document, QWidget* parent);

    MarkerSplitter::Request request() const;

private:
    void addFormat();
    void addFolder();
    QLineEdit* addTag(const QString& label, const QString& text);
    void takeType();
    void chooseFolder();

    const SoundDocument& mDocument;
    QComboBox* mType;
    QComboBox* mOption;
    QLineEdit* mFolder;
    QCheckBox* mPrefix;
    QLineEdit* mArtist;
    QLineEdit* mAlbumArtist;
    QLineEdit* mAlbum;
    QLineEdit* mGrouping;
    QLineEdit* mComposer;
};

} // namespace velloria
