#pragma once

#include <QString>
#include <filesystem>
#include <vector>

namespace velloria
{

/// What the editor was started with. The table of options makes the parser, --help and the manual page.
struct CommandLine {
    enum class Action { run, help, version, manual, wrongUsage };

    Action action = Action::run;
    bool wantsNewDocument = false;
    std::vector<std::filesystem::path> files; ///< absolute
    std::filesystem::path workingFolder;
    QString unknownOption; ///< for wrongUsage

    /// Options may stand anywhere; "--" ends them. A file may be given as a file:// address too. Needs no
    /// application object; the texts do.
    static CommandLine parse(int argc, const char* const* argv, const std::filesystem::path& workingFolder);

    QString problemText() const;
    static QString helpText();
    static QString versionText();
    /// The manual page velloria(1) in roff.
    static QString manualText();
};

} // namespace velloria
