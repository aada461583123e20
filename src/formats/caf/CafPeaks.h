#pragma once

#include "platform/FileHandle.h"
#include "platform/codec/LinearPcm.h"

#include <QByteArray>

namespace velloria
{

/// The payload of a CAF file's "peak" chunk, big-endian: the number of edits of the sound (32 bits), then for
/// each channel the highest amplitude (32-bit float) and its frame (64 bits).
namespace CafPeaks
{

/// Of the same length as any other one.
QByteArray emptyPayload(uint32_t numChannels);
/// For the samples of a file.
QByteArray payload(const FileHandle& handle, const LinearPcmRun& run, uint32_t numChannels,
                   uint32_t editCount);

} // namespace CafPeaks

} // namespace velloria
