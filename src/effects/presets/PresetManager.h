#pragma once

#include "platform/Error.h"

#include <QByteArray>
#include <filesystem>
#include <vector>

namespace velloria
{

/// Knows where preset files are, and reads and writes them: those of a person, one folder an effect, and
/// those that come with the program, which nobody can change. One instance without state. Main thread.
class PresetManager
{
public:
    static const PresetManager& defaultManager();

    /// The folder of all of a person's presets; empty when the system names no place for such files.
    std::filesystem::path defaultPresetsPath() const;
    std::filesystem::path pathForFolderNamed(const QString& folderName) const;
    /// Where a preset of this name is, or would be.
    std::filesystem::path pathForPreset(const QString& folderName, const QString& name) const;
    /// The preset files of one effect, or of any folder. A folder that is not there has none.
    std::vector<std::filesystem::path> listOfPresetsInFolderNamed(const QString& folderName) const;
    std::vector<std::filesystem::path> listOfPresetsInPath(const std::filesystem::path& path) const;
    /// Makes the folder where it is missing; empty, with the error, when that fails.
    std::filesystem::path pathCreatingPresetFolderWithName(const QString& folderName,
                                                           MaybeError* error) const;
    /// What comes with the program for an effect. The paths lead into the program: only read() takes them.
    std::vector<std::filesystem::path> listOfFactoryPresetsInDirectory(const QString& folderName) const;
    static bool isFactoryPreset(const std::filesystem::path& file);

    /// Whether a file is called as preset files are; their extension counts in any case.
    static bool isPresetFile(const std::filesystem::path& file);
    /// The file's name without the extension.
    static QString nameOfPreset(const std::filesystem::path& file);
    /// A typed name as a file may have it: "/" becomes "-".
    static QString fileNameForName(const QString& name);

    /// The bytes of a preset file. Empty, with the error, when it cannot be read or is larger than any
    /// preset.
    QByteArray read(const std::filesystem::path& file, MaybeError* error) const;
    /// In one step; what was there under that name is replaced.
    MaybeError write(const std::filesystem::path& file, const QByteArray& data) const;
    MaybeError remove(const std::filesystem::path& file) const;
    /// Stays in its folder. An error, and nothing renamed, where another preset has the name.
    MaybeError rename(const std::filesystem::path& file, const QString& name) const;

private:
    PresetManager();
};

} // namespace velloria
