#pragma once

#include "formats/tags/AttachedPicture.h"
#include "formats/tags/MetadataDictionary.h"

#include <QByteArray>
#include <QStringList>

namespace velloria
{

/// The payload that one version 2.2 frame can hold, as its size field has 24 bits.
constexpr qsizetype id3LargestPayload = 0xFFFFFF;

/// False for a picture that is too large for a frame.
bool canBeId3Picture(const AttachedPicture& picture);

/// Says of comments and lyrics that leave Latin-1, and of pictures that are neither JPEG nor PNG, that some
/// other programs will not show them; one sentence each. What the tag of the opened file, given by `before`,
/// holds in the same way already is no news.
QStringList id3DisplayLosses(const MetadataDictionary& dictionary, const MetadataDictionary& before);

/// Writes a dictionary as an ID3v2.2 tag of at least 256 bytes that names this program as the encoder;
/// empty for an empty dictionary. A value that is too large for a frame, or for the tag's 256 MB, is left
/// out and the log says so.
QByteArray generateId3Tag(const MetadataDictionary& dictionary);

} // namespace velloria
