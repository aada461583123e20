#pragma once

#include <filesystem>
#include <vector>

namespace velloria
{

/// The files opened or saved last, newest first, kept in the settings. Paths keep their bytes. Main thread.
namespace RecentFiles
{
constexpr size_t kMaxFiles = 12;
std::vector<std::filesystem::path> paths();
void add(const std::filesystem::path& path);
void clear();
} // namespace RecentFiles

} // namespace velloria
