#include "app/sheets/SplitSheet.h"

#include "app/preferences/FolderMemory.h"
#include "formats/AudioFileRegistry.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>

namespace velloria
{

SplitSheet::SplitSheet(const SoundDocument& document, QWidget* parent)
    //% "Split at Markers"
    : FormSheet(qtTrId("split-title"),
                //% "Split"
                qtTrId("split-ok"), parent)
    , mDocument(document)
    , mType(new QComboBox(this))
    , mOption(new QComboBox(this))
    , mFolder(new QLineEdit(this))
    //% "Put the track number before each name"
    , mPrefix(new QCheckBox(qtTrId("split-prefix"), this))
{
    const auto numPieces = static_cast<int>(MarkerSplitter::piecesOf(document).size());
    //: %1 is a number
    //% "Files to be written, named after the markers: %1"
    addNote(qtTrId("split-note").arg(numPieces));
    addFormat();
    addFolder();
    form().addRow(QString(), mPrefix);
    const AudioMetadata tags = MarkerSplitter::metadataForPieces(document);
    //% "Artist:"
    mArtist = addTag(qtTrId("split-artist"), tags.artist());
    //% "Album artist:"
    mAlbumArtist = addTag(qtTrId("split-album-artist"), tags.albumArtist());
    //% "Album:"
    mAlbum = addTag(qtTrId("split-album"), tags.album());
    //% "Grouping:"
    mGrouping = addTag(qtTrId("split-grouping"), tags.grouping());
    //% "Composer:"
    mComposer = addTag(qtTrId("split-composer"), tags.composer());
    setCondition([this] { return QDir(mFolder->text()).exists() && !mFolder->text().isEmpty(); });
}

void SplitSheet::addFormat()
{
    for (const AudioFileType* const type : AudioFileRegistry::writableTypes())
        mType->addItem(type->displayName, type->uti);
    mType->setCurrentIndex(std::max(0, mType->findData(mDocument.fileType())));
    //% "Format:"
    form().addRow(qtTrId("split-format"), mType);
    //% "Option:"
    form().addRow(qtTrId("split-option"), mOption);
    connect(mType, &QComboBox::currentIndexChanged, this, [this] { takeType(); });
    takeType();
}

void SplitSheet::takeType()
{
    SaveRequest request;
    request.uti = mType->currentData().toString();
    const FileOptions options = mDocument.fileOptions(request);
    mOption->clear();
    for (const FileOption& item : options.items)
        if (item.isEnabled)
            mOption->addItem(item.title, item.tag);
    mOption->setCurrentIndex(mOption->findData(options.selectedTag));
    form().setRowVisible(mOption, mOption->count() > 0);
}

void SplitSheet::addFolder()
{
    mFolder->setText(FolderMemory::folderFor(mDocument.filePath()));
    mFolder->setMinimumWidth(280);
    //% "Choose…"
    auto* const choose = new QPushButton(qtTrId("split-choose"), this);
    choose->setAutoDefault(false);
    setTabOrder(mFolder, choose);
    auto* const row = new QHBoxLayout;
    row->setSpacing(8);
    row->addWidget(mFolder, 1);
    row->addWidget(choose);
    //% "Folder:"
    form().addRow(qtTrId("split-folder"), row);
    connect(mFolder, &QLineEdit::textChanged, this, [this] { check(); });
    connect(choose, &QPushButton::clicked, this, [this] { chooseFolder(); });
}

void SplitSheet::chooseFolder()
{
    const QString folder = QFileDialog::getExistingDirectory(this, windowTitle(), mFolder->text());
    if (!folder.isEmpty())
        mFolder->setText(folder);
}

QLineEdit* SplitSheet::addTag(const QString& label, const QString& text)
{
    auto* const field = new QLineEdit(text, this);
    form().addRow(label, field);
    return field;
}

MarkerSplitter::Request SplitSheet::request() const
{
    MarkerSplitter::Request request;
    request.folder = pathFromQString(mFolder->text());
    request.uti = mType->currentData().toString();
    request.optionTag = mOption->currentIndex() < 0 ? 0 : mOption->currentData().toInt();
    request.addPrefix = mPrefix->isChecked();
    request.metadata.setArtist(mArtist->text());
    request.metadata.setAlbumArtist(mAlbumArtist->text());
    request.metadata.setAlbum(mAlbum->text());
    request.metadata.setGrouping(mGrouping->text());
    request.metadata.setComposer(mComposer->text());
    request.metadata.setTrackNumber(1);
    return request;
}

} // namespace velloria
