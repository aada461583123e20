#pragma once

#include "platform/UniqueDescriptor.h"

#include <string>
#include <string_view>
#include <vector>

namespace velloria
{

// How processes of one user see which of the files in a shared folder are in use: whoever uses a file holds
// an exclusive advisory lock on its descriptor, which the system drops when the process ends in whatever way.
// On a file system without locks every file counts as in use.

/// Marks a file that was just created as in use. False when another process took it for a left-over and
/// removed it before it was locked: then create another.
bool lockNewFile(int descriptor);

/// Opens and locks a regular file in `folder` that nobody uses. Empty when the file is in use, gone, not
/// accessible or not regular. As long as the result lives, the file is safe from others' clean-up.
UniqueDescriptor lockUnusedFile(int folder, const std::string& name);

/// The names in `folder` that begin with `prefix`, sorted; none when the folder cannot be read.
std::vector<std::string> namesWithPrefix(int folder, std::string_view prefix);

} // namespace velloria
