#pragma once

#include <QList>
#include <filesystem>
#include <vector>

class QUrl;

namespace velloria
{

/// Paths as the desktop passes them around.
namespace FileUrls
{
/// The local files among some addresses, byte for byte.
std::vector<std::filesystem::path> localPaths(const QList<QUrl>& urls);
std::filesystem::path localPath(const QUrl& url);
} // namespace FileUrls

} // namespace velloria
