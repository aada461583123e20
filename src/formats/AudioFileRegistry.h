#pragma once

#include "formats/file/AudioFile.h"
#include "formats/file/AudioFileTypeNames.h"

#include <functional>

namespace velloria
{

/// One row of the type registry. A type that the program cannot open or cannot write has no function there.
struct AudioFileType : AudioFileTypeNames {
    /// Recognises the first bytes of a file.
    std::function<bool(const FileHandle&)> validateFileHeader;
    /// Null when the file is not of this type; `error` is filled when it is, but cannot be read.
    std::function<std::shared_ptr<AudioFile>(std::shared_ptr<FileHandle>, MaybeError*)> open;
    std::function<std::shared_ptr<AudioFile>(double sampleRate, uint32_t sampleSize, uint32_t numChannels)>
        create;
};

/// Turns document type names into type identifiers and these into file classes, and recognises files by
/// their header.
namespace AudioFileRegistry
{

/// All rows, in the order in which names are looked up.
const std::vector<AudioFileType>& types();
const AudioFileType* typeWithUTI(const QString& uti);
/// The rows that can be written.
std::vector<const AudioFileType*> writableTypes();

/// The identifier of a type name, matched without regard to case against accepted names, display names and
/// identifiers; an unknown name is treated as MPEG-4 AAC.
QString UTIWithTypeName(const QString& typeName);
/// The row a name matches, or null.
const AudioFileType* typeWithName(const QString& typeName);
/// The row that is saved under this extension (no dot, any case), or null.
const AudioFileType* typeWithExtension(const QString& extension);
/// The row whose files are found under this extension, or null.
const AudioFileType* typeOpenedByExtension(const QString& extension);
/// Every extension that can be opened, each once.
QStringList extensionsForOpen();

/// Opens a file as the named type, else as what its header tells. Null with `error` in words for a person.
std::shared_ptr<AudioFile> audioFileWithTypeName(const QString& typeName, const std::filesystem::path& path,
                                                 MaybeError* error);
/// The same with the type looked up by the file's extension.
std::shared_ptr<AudioFile> audioFileWithPath(const std::filesystem::path& path, MaybeError* error);

/// An empty file object for writing; null, logged, for an unknown type or one that cannot be written.
std::shared_ptr<AudioFile> audioFileWithUTI(const QString& uti, double sampleRate, uint32_t sampleSize,
                                            uint32_t numChannels);

} // namespace AudioFileRegistry

} // namespace velloria
