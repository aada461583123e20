#pragma once

#include <filesystem>

class QWidget;

namespace velloria
{

/// Shows a file to a person where it lies. Main thread.
namespace FileManager
{
/// Asks the desktop's file manager to show the file, else the desktop to open its folder; where neither is
/// there the folder's path is shown as text to be copied. Does not wait.
void show(const std::filesystem::path& file, QWidget* parent);
} // namespace FileManager

} // namespace velloria
