#pragma once

#include "document/SoundDocument.h"
#include "formats/AudioFileRegistry.h"

#include <filesystem>
#include <optional>

namespace velloria
{

/// How a file type and its option are named in words: by the `save` command and by velloria-cli.
namespace SaveArguments
{
/// The type to write: by its name, else (the name being empty) by the path's extension. Null, with `error`
/// filled, when there is none, or Velloria cannot write it.
const AudioFileType* type(const QString& typeName, const std::filesystem::path& path, QString* error);

/// A tag of a format's option list: a number, or a four-character code (blanks at its end may be left out).
std::optional<int> optionTag(const QString& text);

/// What is wrong with an option for files of this type with the document's rate, size and channels, or
/// nothing.
QString optionProblem(const QString& uti, int tag, const SoundDocument& document);

/// The same when the document is not known yet: only what no sound file of the type could have is wrong.
QString optionProblem(const QString& uti, int tag);
} // namespace SaveArguments

} // namespace velloria
