#pragma once

#include <QByteArray>
#include <filesystem>
#include <string>

namespace velloria
{

/// The small file that says what a scratch file is. Its name is hidden, so that it neither counts as a
/// left-over nor stands in the way of a person who rescues the sound by hand. Whoever holds the scratch file
/// owns the note.
namespace ScratchNote
{
/// ".NAME.json" for the scratch file NAME.
std::string nameFor(const std::string& scratchName);
std::filesystem::path pathFor(const std::filesystem::path& scratchFile);

/// Nothing is left of a note that cannot be written whole.
void write(const std::filesystem::path& scratchFile, const QByteArray& note);
/// Empty for what is missing, too large to be a note, or no regular file of this user.
QByteArray read(const std::filesystem::path& scratchFile);
/// Removes notes in a folder whose scratch file is gone.
void removeOrphans(int folder);
} // namespace ScratchNote

} // namespace velloria
