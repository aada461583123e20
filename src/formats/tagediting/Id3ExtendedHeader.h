#pragma once

#include "formats/tags/Id3Layout.h"

namespace velloria
{

/// The extended header of a tag (`stored`, which may be empty) for other frames, followed by so many bytes of
/// padding: its sum and the padding that it tells are made anew. One that is laid out in another way than the
/// format has it stays as it is. `frames` and the result are as the tag stores them.
QByteArray id3ExtendedHeader(const Id3Layout& layout, QByteArrayView stored, QByteArrayView frames,
                             qsizetype paddingLength);

} // namespace velloria
