#pragma once

#include "formats/tags/AudioMetadata.h"

#include <QByteArray>
#include <QStringList>
#include <optional>

namespace velloria
{

/// Replaces every tag of `metadata` by those of an ID3v2 tag. Gives the keys of what the tag says and the
/// metadata has no room for; nothing (and `metadata` as it was) when the bytes are no such tag. What a tag
/// says of the file that it stands in counts as nothing: it would be wrong in another file.
std::optional<QStringList> takeInId3Tag(const QByteArray& tag, AudioMetadata& metadata);

} // namespace velloria
