#pragma once

#include "document/LeftOverSounds.h"

#include <functional>

class QMessageBox;
class QWidget;

namespace velloria
{

/// Tells of sound that an earlier run left behind, and opens it, or the folder with its files, if asked to.
namespace RecoverPrompt
{
struct Answers {
    std::function<void(const std::vector<LeftOverSound>&)> openSounds;
    std::function<void(const std::filesystem::path&)> openFolder;
};

/// Shows the message beside the windows, without waiting, when there are left-overs; null when there are
/// none. The box deletes itself. Of many sounds those that were written last are offered to be opened.
QMessageBox* showIfNeeded(QWidget* parent, const Answers& answers);
/// Opens a folder in the desktop's file browser.
void openInFileBrowser(const std::filesystem::path& folder);
} // namespace RecoverPrompt

} // namespace velloria
