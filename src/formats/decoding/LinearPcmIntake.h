#pragma once

#include "document/clips/MutableAudioClip.h"
#include "platform/FileHandle.h"
#include "platform/Progress.h"
#include "platform/codec/LinearPcm.h"

#include <functional>
#include <memory>
#include <vector>

namespace velloria
{

using DecodedClips = std::vector<std::shared_ptr<MutableAudioClip>>;

/// Reads a run of linear PCM into scratch files, one complete clip a channel. Silence stands for what the
/// file no longer has. `didBegin` is called with the clips before the first sample is appended. Empty with
/// `error` filled when writing fails or the progress is cancelled.
DecodedClips clipsOfLinearPcm(const FileHandle& handle, const LinearPcmRun& run, uint32_t numChannels,
                              double sampleRate, const std::function<void(const DecodedClips&)>& didBegin,
                              Progress& progress, MaybeError* error);

} // namespace velloria
