#pragma once

#include <filesystem>

class QWidget;

namespace velloria
{

/// Puts a preset file that is opened from outside among the presets of its effect, and says where it is. Main
/// thread.
namespace PresetInstaller
{
bool isPreset(const std::filesystem::path& file);
/// Questions and messages belong to `window`, which may be null.
void install(const std::filesystem::path& file, QWidget* window);
} // namespace PresetInstaller

} // namespace velloria
