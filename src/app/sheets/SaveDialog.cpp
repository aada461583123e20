#include "app/sheets/SaveDialog.h"

#include "app/preferences/FolderMemory.h"
#include "formats/AudioFileRegistry.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QStandardItemModel>
#include <algorithm>

namespace velloria
{

namespace
{

const QString kWaveUTI = QStringLiteral("com.microsoft.waveform-audio");

} // namespace

SaveDialog::SaveDialog(const SoundDocument& document, SaveRequest request, QWidget* parent)
    : QFileDialog(parent)
    , mDocument(document)
    , mRequest(std::move(request))
    , mType(new QComboBox(this))
    , mOptionLabel(new QLabel(this))
    , mOption(new QComboBox(this))
    , mSize(new QLabel(this))
{
    setOption(DontUseNativeDialog);
    setAcceptMode(AcceptSave);
    setFileMode(AnyFile);
    setWindowModality(Qt::WindowModal);
    if (mRequest.selection)
        //% "Save Selection As"
        setWindowTitle(qtTrId("save-selection-title"));
    else
        //% "Save As"
        setWindowTitle(qtTrId("save-as-title"));
    setDirectory(FolderMemory::folderFor(document.filePath()));
    // The title of a document that was never saved may hold a time of day; other systems' file names must
    // not. With points it would end in what looks like an extension.
    selectFile(document.displayName().replace(u'/', u'-').replace(u':', u'-'));
    addAccessory();
    fillTypes();
    connect(mType, &QComboBox::currentIndexChanged, this, &SaveDialog::takeType);
    connect(mOption, &QComboBox::currentIndexChanged, this, &SaveDialog::takeOption);
    chooseStartingType();
}

void SaveDialog::addAccessory()
{
    //% "File type:"
    auto* const typeLabel = new QLabel(qtTrId("save-type"), this);
    typeLabel->setBuddy(mType);
    mOptionLabel->setBuddy(mOption);
    mType->setAccessibleName(typeLabel->text());
    // The entries change with the type; none of them is to be cut.
    mOption->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    mSize->setForegroundRole(QPalette::PlaceholderText);
    auto* const row = new QHBoxLayout;
    row->setContentsMargins(0, 8, 0, 4);
    row->addWidget(typeLabel);
    row->addWidget(mType);
    row->addSpacing(12);
    row->addWidget(mOptionLabel);
    row->addWidget(mOption);
    row->addSpacing(12);
    row->addWidget(mSize, 1);
    if (auto* const grid = qobject_cast<QGridLayout*>(layout()))
        grid->addLayout(row, grid->rowCount(), 0, 1, grid->columnCount());
    // The type is chosen below; the toolkit's own list of filters would say it twice.
    for (const char* const name : {"fileTypeLabel", "fileTypeCombo"}) {
        if (auto* const widget = findChild<QWidget*>(QString::fromLatin1(name)))
            widget->hide();
    }
}

void SaveDialog::fillTypes()
{
    for (const AudioFileType* const type : AudioFileRegistry::writableTypes())
        mType->addItem(type->displayName, type->uti);
}

void SaveDialog::chooseStartingType()
{
    int index = mType->findData(mDocument.fileType());
    if (index < 0)
        index = mType->findData(kWaveUTI);
    mType->setCurrentIndex(std::max(0, index));
    takeType();
}

void SaveDialog::takeType()
{
    mRequest.uti = mType->currentData().toString();
    const AudioFileType* const type = AudioFileRegistry::typeWithUTI(mRequest.uti);
    if (!type)
        return;
    QStringList patterns;
    for (const QString& extension : type->extensionsForSave)
        patterns << QStringLiteral("*.") + extension;
    setNameFilter(QStringLiteral("%1 (%2)").arg(type->displayName, patterns.join(u' ')));
    setDefaultSuffix(type->defaultExtension);
    giveNameAnExtension();

    mRequest.optionTag = 0;
    const FileOptions options = mDocument.fileOptions(mRequest);
    mOption->blockSignals(true);
    mOption->clear();
    for (const FileOption& item : options.items)
        addOption(item);
    mOption->setCurrentIndex(mOption->findData(options.selectedTag));
    mOption->blockSignals(false);
    mOptionLabel->setText(options.label);
    mOption->setAccessibleName(options.label);
    const bool hasChoice = std::any_of(options.items.begin(), options.items.end(),
                                       [](const FileOption& item) { return item.isEnabled; });
    mOptionLabel->setVisible(hasChoice);
    mOption->setVisible(hasChoice);
    takeOption();
}

void SaveDialog::addOption(const FileOption& option)
{
    mOption->addItem(option.title, option.tag);
    // A heading, or that there is nothing to choose.
    auto* const entries = qobject_cast<QStandardItemModel*>(mOption->model());
    if (!option.isEnabled && entries)
        entries->item(entries->rowCount() - 1)->setEnabled(false);
}

void SaveDialog::takeOption()
{
    mRequest.optionTag = mOption->currentIndex() < 0 ? 0 : mOption->currentData().toInt();
    const double bytes = mDocument.estimatedFileSize(mRequest);
    //: How large a file will be, %1 is "12.3 MB"
    //% "About %1"
    mSize->setText(bytes < 0
                       ? QString()
                       : qtTrId("save-size").arg(QLocale().formattedDataSize(static_cast<qint64>(bytes), 1)));
}

void SaveDialog::giveNameAnExtension()
{
    auto* const field = findChild<QLineEdit*>();
    const AudioFileType* const type = AudioFileRegistry::typeWithUTI(mRequest.uti);
    if (!field || !type || field->text().isEmpty())
        return;
    QString name = field->text();
    const QString extension = QFileInfo(name).suffix();
    if (type->extensionsForSave.contains(extension, Qt::CaseInsensitive))
        return;
    // Only what names a sound file is an extension; "Take 2.5" keeps its 5.
    if (!extension.isEmpty() && AudioFileRegistry::typeWithExtension(extension))
        name.chop(extension.size() + 1);
    field->setText(name + u'.' + type->defaultExtension);
}

void SaveDialog::accept()
{
    giveNameAnExtension();
    QFileDialog::accept();
}

std::optional<SaveRequest> SaveDialog::ask()
{
    if (exec() != QDialog::Accepted || selectedFiles().isEmpty())
        return std::nullopt;
    mRequest.path = pathFromQString(selectedFiles().first());
    FolderMemory::remember(mRequest.path);
    return mRequest;
}

} // namespace velloria
