#include "app/preferences/RecentFiles.h"

#include "app/preferences/Settings.h"
#include "platform/UserDefaults.h"

#include <QByteArray>
#include <QStringList>
#include <algorithm>

namespace velloria
{

namespace
{

void store(const std::vector<std::filesystem::path>& paths)
{
    // Settings hold text, paths hold bytes.
    QStringList encoded;
    for (const std::filesystem::path& path : paths)
        encoded << QString::fromLatin1(QByteArray::fromStdString(path.native()).toPercentEncoding("/ "));
    UserDefaults::standard().setValue(Settings::recentFiles, encoded);
}

} // namespace

std::vector<std::filesystem::path> RecentFiles::paths()
{
    std::vector<std::filesystem::path> paths;
    for (const QString& encoded : UserDefaults::standard().value(Settings::recentFiles).toStringList())
        paths.emplace_back(QByteArray::fromPercentEncoding(encoded.toLatin1()).toStdString());
    return paths;
}

void RecentFiles::add(const std::filesystem::path& path)
{
    std::vector<std::filesystem::path> all = paths();
    std::erase(all, path);
    all.insert(all.begin(), path);
    all.resize(std::min(all.size(), kMaxFiles));
    store(all);
}

void RecentFiles::clear()
{
    store({});
}

} // namespace velloria
