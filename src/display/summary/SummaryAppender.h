#pragma once

#include "display/summary/SummaryStore.h"

#include <span>

namespace velloria
{

/// Turns samples into summary entries of SummaryStore::zoom() samples each; what does not fill an entry stays
/// with the store as its remainder. For zooms above 1. Called by the stores' appending thread.
namespace SummaryAppender
{

void append(SummaryStore& store, std::span<const float> samples);
void append(SummaryStore& store, std::span<const int16_t> samples);

inline constexpr size_t maxChannels = 32;

/// True when frames may be appended to all the stores at once: same zoom, same place within an entry.
bool areInStep(std::span<SummaryStore* const> stores);

/// Interleaved frames, one channel for each of at most maxChannels stores that are in step.
void append(std::span<SummaryStore* const> stores, const int16_t* frames, size_t numFrames);

/// Every sample as an entry of its own, for zoom 1.
void appendRaw(SummaryStore& store, std::span<const float> samples);

/// The remainder as a last entry.
void appendRemainder(SummaryStore& store);

} // namespace SummaryAppender

} // namespace velloria
