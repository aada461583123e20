#pragma once

#include "formats/tags/AudioMetadata.h"
#include "platform/FileHandle.h"

#include <QByteArray>
#include <QStringList>

namespace velloria
{

/// Tags in the list that iTunes made common in MPEG-4 files ('ilst').
namespace Mpeg4Tags
{

/// Replaces every tag of `metadata` by those of a file. Gives the names of what the file says and the
/// metadata has no room for.
QStringList read(const FileHandle& file, AudioMetadata& metadata);

/// The 'meta' box of tags and of the text (if any) that tells players where the sound begins and ends.
QByteArray box(const AudioMetadata& metadata, const QByteArray& gaplessText);

} // namespace Mpeg4Tags

} // namespace velloria
