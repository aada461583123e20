#pragma once

#include "formats/ledger/FileLedger.h"
#include "formats/tags/MetadataDictionary.h"

#include <QByteArray>
#include <QByteArrayView>
#include <cstdint>
#include <optional>

namespace velloria
{

constexpr qsizetype id3HeaderLength = 10;

/// Reads an ID3v2.2, 2.3 or 2.4 tag, from its header on. A damaged frame ends the list of frames; those
/// before it count. Nothing when the bytes are no such tag. The memory in use stays in proportion to the
/// bytes given, whatever sizes they claim.
/// `ledger` gets all bytes of the tag, from offset 0 on, each frame by itself: those that AudioMetadata holds
/// are in the model, every other one is named by what it says of itself, else by its ID.
std::optional<MetadataDictionary> parseId3Tag(QByteArrayView tag, FileLedger* ledger = nullptr);

/// The length of a tag by its header of 10 bytes, these and a footer included.
int64_t id3TagLength(QByteArrayView header);

/// The value of four bytes that hold seven bits each, most significant first; an eighth bit carries over.
int64_t intFromSynchSafe(QByteArrayView bytes);

/// Takes out every zero byte that directly follows an 0xFF byte: what a writer put in so that no player
/// sees the start of an MPEG frame inside a tag.
QByteArray unsynchronizeData(QByteArrayView bytes);

} // namespace velloria
