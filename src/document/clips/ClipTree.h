#pragma once

#include "document/clips/ClipNode.h"

namespace velloria
{

/// Cutting and joining of clip trees; a null reference is the empty tree. All take time and new memory in
/// proportion to the height.
namespace ClipTree
{

/// Clips first .. end - 1, which must exist.
ClipNodeRef slice(const ClipNodeRef& root, int64_t first, int64_t end);

ClipNodeRef join(ClipNodeRef left, ClipNodeRef right);

ClipNodeRef fromClips(std::span<AudioClipPtr> clips);

} // namespace ClipTree

} // namespace velloria
