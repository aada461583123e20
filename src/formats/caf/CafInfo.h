#pragma once

#include "formats/tags/MetadataDictionary.h"

#include <QByteArray>

namespace velloria
{

/// The payload of a CAF file's "info" chunk: a count of 32 bits, then keys and values, each ended by a zero.
/// The count is little-endian, unlike all else in the file, so programs that trust it look for entries up to
/// the end of the file: the chunk has to come last.
namespace CafInfo
{

/// Keys with texts and numbers; nothing when there are none.
QByteArray payloadOfDictionary(const MetadataDictionary& dictionary);
/// A payload that was read, with the values that are others `now` than they were `before`: all of their keys,
/// in their places, new ones behind. Everything else stays, the count's byte order included.
QByteArray editedPayload(const QByteArray& payload, const MetadataDictionary& before,
                         const MetadataDictionary& now);
/// As far as the count or the payload goes, whichever ends first. A big-endian count is known too.
/// `keysTwice` gets the keys whose first value another one replaced.
MetadataDictionary dictionaryOfPayload(const QByteArray& payload, QStringList* keysTwice = nullptr);

} // namespace CafInfo

} // namespace velloria
