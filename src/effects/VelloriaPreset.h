#pragma once

#include "platform/Error.h"

#include <QString>
#include <filesystem>
#include <functional>
#include <optional>

namespace velloria
{

/// A preset file that is opened from outside: it is put into the folder of the effect that its first four
/// bytes name. Main thread.
class VelloriaPreset
{
public:
    /// Whether the preset of this name, which is there already, may be replaced.
    using MayReplace = std::function<bool(const QString& name)>;

    /// Where a preset was put.
    struct Installed {
        std::filesystem::path file;
        QString folderName;
        QString effectScriptName; ///< of the effect whose record it is; empty for one the program lacks
        QString effectFolderName; ///< the folder that the dialog of that effect lists; not always the same
        bool isListed() const { return effectFolderName.isEmpty() || effectFolderName == folderName; }
    };

    /// The folder for the record's code; nothing for a code that is none.
    static std::optional<QString> folderForCode(uint32_t code);

    /// Nothing, with the error, for what is no preset, is damaged or cannot be written, or when the person
    /// does not want to replace one. Nothing is written then.
    static std::optional<Installed> install(const std::filesystem::path& file, const MayReplace& mayReplace,
                                            MaybeError* error);
    /// The same into the folder that the effect's dialog lists.
    static std::optional<Installed> installForEffect(const Installed& installed, const MayReplace& mayReplace,
                                                     MaybeError* error);

private:
    static bool savePresetData(const QByteArray& data, const std::filesystem::path& source,
                               Installed& installed, const MayReplace& mayReplace, MaybeError* error);
};

} // namespace velloria
