#pragma once

#include <filesystem>
#include <functional>

class QMessageBox;
class QWidget;

namespace velloria
{

/// Tells of scratch files that an earlier run left behind, and opens their folder if asked to.
namespace RecoverPrompt
{
using FolderOpener = std::function<void(const std::filesystem::path&)>;

/// Shows the message beside the windows, without waiting, when there are left-overs; null when there are
/// none. The box deletes itself.
QMessageBox* showIfNeeded(QWidget* parent, const FolderOpener& openFolder);
/// Opens a folder in the desktop's file browser.
void openInFileBrowser(const std::filesystem::path& folder);
} // namespace RecoverPrompt

} // namespace velloria
