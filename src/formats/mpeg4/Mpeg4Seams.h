#pragma once

#include "formats/saving/SaveLoop.h"
#include "platform/Progress.h"
#include "platform/codec/PacketSink.h"

namespace velloria
{

/// The sound of a save that copies packets of an opened file and encodes what is around the seams, as it is
/// planned for one kind of encoding. Stands in the place of a PacketSaver.
class Mpeg4Seams
{
public:
    virtual ~Mpeg4Seams() = default;

    /// What the container's tables take beyond those of packets that are all equal.
    virtual int64_t numTableBytes() const = 0;
    /// Writes the whole sound; `range` of the document is what was planned for.
    virtual MaybeError write(const FrameSource& document, const SaveRange& range, PacketSink& container,
                             Progress& progress) = 0;
    /// Where the sound lies among the frames that its packets decode to.
    virtual PacketTable packetTable() const = 0;
};

} // namespace velloria
