#pragma once

#include <QString>
#include <filesystem>

namespace velloria
{

/// The folder that file dialogs begin in: that of the document, else the one used last, else the user's
/// music.
namespace FolderMemory
{
QString folderFor(const std::filesystem::path& document);
/// Keeps the folder of a file that was opened or saved.
void remember(const std::filesystem::path& file);
} // namespace FolderMemory

} // namespace velloria
