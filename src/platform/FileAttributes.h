#pragma once

#include <QStringList>
#include <cstddef>
#include <filesystem>
#include <sys/stat.h>

namespace velloria
{

/// Gives an open new file what belongs to an existing one besides its contents: owner, group, mode, access
/// control list and extended attributes. Where the group is not kept, the new group gets no more than
/// everybody. `existing` is what stat() said about the file at `path`. Gives what the system refused ("the
/// owner", "the attribute user.comment (...)"), apart from what ownershipLosses() told before.
QStringList copyFileAttributes(const std::filesystem::path& path, const struct stat& existing, int newFile);

/// A number for the extended attributes of an open file, their values included; another one after a change.
size_t extendedAttributesDigest(int descriptor);

/// What this user could not keep of a file's owner and group, one sentence each.
QStringList ownershipLosses(const struct stat& existing, const QString& name);

} // namespace velloria
