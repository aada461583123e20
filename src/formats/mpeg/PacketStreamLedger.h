#pragma once

#include "formats/ledger/FileLedger.h"
#include "platform/FileHandle.h"
#include "platform/codec/ElementaryStreams.h"

#include <optional>

namespace velloria
{

/// Where the packets of such a file lie: everything between the tags in front and those behind, whatever
/// stands among the packets included. Nothing where a tag in front claims more than the file has.
std::optional<ByteRange> packetStreamBytes(const FileHandle& handle);

/// The account of a file of MPEG audio (or else AAC) packets without a container: the packets, which are in
/// the model, and what stands in front of them, between them and behind them. `id3Tag` is the account of the
/// ID3v2 tag that the file begins with, where that was taken in. `traits` is filled for MPEG audio.
FileLedger packetStreamLedger(const FileHandle& handle, bool isMpegAudio,
                              const std::optional<FileLedger>& id3Tag = std::nullopt,
                              ElementaryStreams::MpegPacketTraits* traits = nullptr);

} // namespace velloria
