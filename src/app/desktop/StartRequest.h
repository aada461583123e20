#pragma once

#include <QByteArray>
#include <filesystem>
#include <optional>
#include <vector>

namespace velloria
{

/// What a second start hands to the first.
struct StartRequest {
    std::vector<std::filesystem::path> files; ///< absolute
    std::filesystem::path workingFolder;
    bool wantsNewDocument = false;
    QByteArray activationToken; ///< what lets a window come to the front under Wayland

    QByteArray encoded() const;
    /// Nothing for bytes that are no request of this version.
    static std::optional<StartRequest> decoded(const QByteArray& bytes);
};

} // namespace velloria
