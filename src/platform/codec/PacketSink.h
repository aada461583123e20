#pragma once

#include "platform/codec/PacketEncoder.h"
#include "platform/codec/PacketTable.h"

namespace velloria
{

/// A container that is being written: it is told about the encoder, then takes its packets in order. All
/// calls come one after another, though not all on the same thread. Any error ends the save, without
/// finish().
class PacketSink
{
public:
    virtual ~PacketSink() = default;

    /// Before the first packet: `encoder` is set up, so that its parameters, its magic cookie and its frames
    /// per packet can be asked for. It lives until finish() has returned.
    virtual MaybeError begin(const PacketEncoder& encoder) = 0;
    /// The packet is valid during the call. Its duration may be 0 where all packets are equal.
    virtual MaybeError writePacket(AVPacket& packet) = 0;
    /// After the last packet: where the sound lies among the frames that decode from all packets.
    virtual MaybeError finish(const PacketTable& table) = 0;
};

} // namespace velloria
