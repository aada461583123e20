#pragma once

#include "formats/tags/MetadataDictionary.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QStringList>
#include <cstdint>
#include <optional>

namespace velloria
{

constexpr qsizetype id3HeaderLength = 10;

/// Reads an ID3v2.2, 2.3 or 2.4 tag, from its header on. A damaged frame ends the list of frames; those
/// before it count. Nothing when the bytes are no such tag. The memory in use stays in proportion to the
/// bytes given, whatever sizes they claim.
/// `framesNotRead` gets the names of the frames that are whole but have no place in the dictionary: what the
/// frame says of itself, else its ID; each once, not more than people would read.
std::optional<MetadataDictionary> parseId3Tag(QByteArrayView tag, QStringList* framesNotRead = nullptr);

/// The value of four bytes that hold seven bits each, most significant first; an eighth bit carries over.
int64_t intFromSynchSafe(QByteArrayView bytes);

/// Takes out every zero byte that directly follows an 0xFF byte: what a writer put in so that no player
/// sees the start of an MPEG frame inside a tag.
QByteArray unsynchronizeData(QByteArrayView bytes);

} // namespace velloria
