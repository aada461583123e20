#pragma once

#include "formats/ledger/FileLedger.h"
#include "formats/tags/AudioMetadata.h"

#include <QByteArray>
#include <optional>

namespace velloria
{

/// Replaces every tag of `metadata` by those of an ID3v2 tag. Gives the account of all its bytes, from offset
/// 0 on, and of the values that change on the way; nothing (and `metadata` as it was) when the bytes are no
/// such tag. What a tag says of the file that it stands in counts as structure: it would be wrong in another
/// file.
/// `takesChapters`: the file's chapters are its markers, so that they are in the model, too.
std::optional<FileLedger> takeInId3Tag(const QByteArray& tag, AudioMetadata& metadata,
                                       bool takesChapters = false);

} // namespace velloria
