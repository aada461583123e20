#include "app/desktop/FileManager.h"

#include "platform/FileHandle.h"

#include <QApplication>
#include <QClipboard>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

namespace velloria
{

namespace
{

// Starting a file manager may take a while; nobody waits longer for a window.
constexpr int kPatienceMilliseconds = 10000;
constexpr int kPathWidth = 460;

QString urlOf(const std::filesystem::path& path)
{
    return QString::fromLatin1(QUrl::fromLocalFile(QFile::decodeName(path.c_str())).toEncoded());
}

void showPath(const std::filesystem::path& folder, QWidget* parent)
{
    auto* const dialog = new QDialog(parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::WindowModal);
    //% "Folder of the Files"
    dialog->setWindowTitle(qtTrId("file-manager-title"));
    //% "No file manager answers. The files are in this folder:"
    auto* const note = new QLabel(qtTrId("file-manager-none"), dialog);
    auto* const path = new QLineEdit(displayPath(folder), dialog);
    path->setReadOnly(true);
    path->setMinimumWidth(kPathWidth);
    path->selectAll();
    note->setBuddy(path);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
    //% "Copy Path"
    QPushButton* const copy = buttons->addButton(qtTrId("file-manager-copy"), QDialogButtonBox::ActionRole);
    QObject::connect(copy, &QPushButton::clicked, path,
                     [path] { QApplication::clipboard()->setText(path->text()); });
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    auto* const layout = new QVBoxLayout(dialog);
    layout->addWidget(note);
    layout->addWidget(path);
    layout->addWidget(buttons);
    dialog->open();
}

/// The desktop's opener says only at its end that there was nothing to open the folder with.
void openFolder(const std::filesystem::path& folder, const QPointer<QWidget>& parent)
{
    auto* const opener = new QProcess(qApp);
    const auto fail = [opener, folder, parent] {
        opener->deleteLater();
        showPath(folder, parent);
    };
    QObject::connect(opener, &QProcess::errorOccurred, opener, [fail](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            fail();
    });
    QObject::connect(opener, &QProcess::finished, opener, [fail, opener](int status) {
        if (status != 0)
            fail();
        else
            opener->deleteLater();
    });
    opener->setStandardOutputFile(QProcess::nullDevice());
    opener->setStandardErrorFile(QProcess::nullDevice());
    opener->start(QStringLiteral("xdg-open"), {urlOf(folder)});
}

} // namespace

void FileManager::show(const std::filesystem::path& file, QWidget* parent)
{
    const QPointer<QWidget> window(parent);
    const std::filesystem::path folder = file.parent_path();
    if (!QDBusConnection::sessionBus().isConnected()) {
        openFolder(folder, window);
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call.setArguments({QStringList(urlOf(file)), QString()});
    auto* const watcher = new QDBusPendingCallWatcher(
        QDBusConnection::sessionBus().asyncCall(call, kPatienceMilliseconds), qApp);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, folder, window] {
        watcher->deleteLater();
        if (watcher->isError())
            openFolder(folder, window);
    });
}

} // namespace velloria
