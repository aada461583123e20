#include "app/RecoverPrompt.h"

#include "platform/ScratchFolder.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QFile>
#include <QMessageBox>
#include <QPushButton>
#include <QUrl>

namespace velloria
{

QMessageBox* RecoverPrompt::showIfNeeded(QWidget* parent, const FolderOpener& openFolder)
{
    if (ScratchFolder::leftOvers().empty())
        return nullptr;
    auto* const box = new QMessageBox(parent);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::WindowModal);
    box->setWindowFlag(Qt::Sheet);
    box->setIcon(QMessageBox::Information);
    //% "Velloria did not end properly last time"
    box->setText(qtTrId("RECOVER_TITLE"));
    //% "Sound that was recorded or computed then is still in the folder for temporary files. You can rescue "
    //% "it by hand: these are ordinary CAF sound files, one for each track. They are removed when you quit "
    //% "Velloria."
    box->setInformativeText(qtTrId("RECOVER_TEXT"));
    //% "Show Files"
    const QPushButton* const show = box->addButton(qtTrId("RECOVER_OK"), QMessageBox::AcceptRole);
    //% "Not Now"
    box->addButton(qtTrId("RECOVER_CANCEL"), QMessageBox::RejectRole);
    QObject::connect(show, &QPushButton::clicked, box, [openFolder] { openFolder(ScratchFolder::path()); });
    box->open();
    return box;
}

void RecoverPrompt::openInFileBrowser(const std::filesystem::path& folder)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(QFile::decodeName(folder.c_str())));
}

} // namespace velloria
