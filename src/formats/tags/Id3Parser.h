#pragma once

#include "formats/ledger/FileLedger.h"
#include "formats/tags/Id3FrameCollector.h"
#include "formats/tags/Id3Layout.h"
#include "formats/tags/MetadataDictionary.h"

#include <QByteArrayView>
#include <optional>

namespace velloria
{

/// Reads an ID3v2.2, 2.3 or 2.4 tag, from its header on. A damaged frame ends the list of frames; those
/// before it count. Nothing when the bytes are no such tag.
/// `ledger` gets all bytes of the tag, from offset 0 on, each frame by itself: those that AudioMetadata holds
/// are in the model, every other one goes with the tag and is named by what it says of itself, else by its
/// ID.
/// `takesChapters`: chapters are in the model, too.
std::optional<MetadataDictionary> parseId3Tag(QByteArrayView tag, FileLedger* ledger = nullptr,
                                              bool takesChapters = false);

/// Hands over all frames of a tag, in order.
void collectId3Frames(const Id3Layout& layout, Id3FrameCollector& collector);

} // namespace velloria
