#include "app/preferences/FolderMemory.h"

#include "app/preferences/Settings.h"
#include "platform/UserDefaults.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

namespace velloria
{

QString FolderMemory::folderFor(const std::filesystem::path& document)
{
    if (!document.empty())
        return QFile::decodeName(document.parent_path().c_str());
    QString last = UserDefaults::standard().stringValue(Settings::lastFolder);
    if (!last.isEmpty() && QDir(last).exists())
        return last;
    const QString music = QStandardPaths::writableLocation(QStandardPaths::MusicLocation);
    return QDir(music).exists() ? music : QDir::homePath();
}

void FolderMemory::remember(const std::filesystem::path& file)
{
    UserDefaults::standard().setValue(Settings::lastFolder, QFile::decodeName(file.parent_path().c_str()));
}

} // namespace velloria
