#pragma once

#include "formats/saving/SaveLoop.h"

#include <QByteArray>

namespace velloria
{

/// The number of a stream that a range of a document is saved as. Streams in one file must differ in it, and
/// people put Ogg files one behind the other; so it is a hash of what the stream holds (its length, rate,
/// channels, tags, and how it begins), and the same sound gives the same file. `tags` is any text of them.
int oggSerialNumber(const FrameSource& document, const SaveRange& range, const QByteArray& tags);

} // namespace velloria
