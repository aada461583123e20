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

/// What the words say of a type before the document is known.
struct TargetType {
    /// Empty when the words name none that Velloria can write.
    QString uti;
    /// No type is named, and the path has the extension of the document's own file, or another one that
    /// files of its type are found under: it stays what it is, as Apple Lossless in .m4a, FLAC in .ogg, a
    /// film in .mp4 that is saved as .mov.
    bool followsDocument = false;
};

/// The same as type(), for a document that lives at `source`. Nothing, with `error` filled, when the words
/// are wrong.
std::optional<TargetType> targetType(const QString& typeName, const std::filesystem::path& path,
                                     const std::filesystem::path& source, QString* error);

/// Its identifier, once the document is there: an option that only the extension's type has (0: no option)
/// asks for that one.
QString utiOf(const TargetType& target, const SoundDocument& document, int optionTag);

/// A tag of a format's option list: a number, or a four-character code (blanks at its end may be left out).
std::optional<int> optionTag(const QString& text);

/// What is wrong with an option for files of this type with the document's rate, size and channels, or
/// nothing.
QString optionProblem(const QString& uti, int tag, const SoundDocument& document);

/// The same when the document is not known yet: only what no sound file of the type could have is wrong.
QString optionProblem(const QString& uti, int tag);
} // namespace SaveArguments

} // namespace velloria
