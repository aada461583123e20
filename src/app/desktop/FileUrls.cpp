#include "app/desktop/FileUrls.h"

#include <QUrl>

namespace velloria
{

std::filesystem::path FileUrls::localPath(const QUrl& url)
{
    if (!url.isLocalFile())
        return {};
    return QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()).toStdString();
}

std::vector<std::filesystem::path> FileUrls::localPaths(const QList<QUrl>& urls)
{
    std::vector<std::filesystem::path> paths;
    for (const QUrl& url : urls) {
        if (std::filesystem::path path = localPath(url); !path.empty())
            paths.push_back(std::move(path));
    }
    return paths;
}

} // namespace velloria
