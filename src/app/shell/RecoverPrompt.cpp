#include "app/shell/RecoverPrompt.h"

#include "platform/ScratchFolder.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QFile>
#include <QMessageBox>
#include <QPushButton>
#include <QUrl>
#include <algorithm>

namespace velloria
{

namespace
{

// A run of many effects leaves many files, of which a person wants the last ones, not a hundred windows.
constexpr size_t kMostSounds = 8;

QPushButton* addOpening(QMessageBox& box, std::vector<LeftOverSound> sounds,
                        const RecoverPrompt::Answers& answers)
{
    //% "Open"
    QPushButton* const open = box.addButton(qtTrId("RECOVER_OPEN"), QMessageBox::AcceptRole);
    QObject::connect(open, &QPushButton::clicked, &box,
                     [sounds = std::move(sounds), answers] { answers.openSounds(sounds); });
    return open;
}

} // namespace

QMessageBox* RecoverPrompt::showIfNeeded(QWidget* parent, const Answers& answers)
{
    const std::vector<std::filesystem::path> files = ScratchFolder::leftOvers();
    if (files.empty())
        return nullptr;
    std::vector<LeftOverSound> sounds = LeftOverSounds::find(files);
    sounds.resize(std::min(sounds.size(), kMostSounds));
    auto* const box = new QMessageBox(parent);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::WindowModal);
    box->setWindowFlag(Qt::Sheet);
    box->setIcon(QMessageBox::Information);
    //% "Velloria did not end properly last time"
    box->setText(qtTrId("RECOVER_TITLE"));
    //% "Sound that was recorded or computed then is still in the folder for temporary files. Open shows it in "
    //% "windows of its own, to be saved. You can also rescue it by hand: these are ordinary CAF sound files. "
    //% "They are removed when you quit Velloria."
    box->setInformativeText(qtTrId("RECOVER_TEXT"));
    QPushButton* const open = sounds.empty() ? nullptr : addOpening(*box, std::move(sounds), answers);
    //% "Show Files"
    const QPushButton* const show =
        box->addButton(qtTrId("RECOVER_OK"), open ? QMessageBox::ActionRole : QMessageBox::AcceptRole);
    //% "Not Now"
    QPushButton* const decline = box->addButton(qtTrId("RECOVER_CANCEL"), QMessageBox::RejectRole);
    QObject::connect(show, &QPushButton::clicked, box,
                     [answers] { answers.openFolder(ScratchFolder::path()); });
    box->setDefaultButton(open);
    box->setEscapeButton(decline);
    box->open();
    return box;
}

void RecoverPrompt::openInFileBrowser(const std::filesystem::path& folder)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(QFile::decodeName(folder.c_str())));
}

} // namespace velloria
