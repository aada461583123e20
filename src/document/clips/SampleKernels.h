#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace velloria
{

/// The inner loops of the sample path, vectorised; the same results on every processor, bit for bit. Counts
/// are in samples or frames as named; buffers need no alignment; in and out never overlap.
namespace SampleKernels
{

/// out[i] = the integer of `bytesPerSample` (1 to 4) bytes at in + i * stride samples, scaled to -1 .. 1.
void integersToFloats(const std::byte* in, size_t bytesPerSample, size_t stride, float* out, size_t count);

/// Both channels of stereo frames, or one (0 or 1).
void splitStereoIntegers(const std::byte* in, size_t bytesPerSample, float* left, float* right,
                         size_t numFrames);
void stereoChannelToFloats(const std::byte* in, size_t bytesPerSample, size_t channel, float* out,
                           size_t numFrames);
void splitStereoFloats(const float* in, float* left, float* right, size_t numFrames);

/// Integers of 8, 16 or 24 bits dithered with the sums of two 31-bit draws (see Dither.h), one a sample.
void quantise8(const float* in, const uint32_t* sums, int8_t* out, size_t count);
void quantise16(const float* in, const uint32_t* sums, int16_t* out, size_t count);
void quantise24(const float* in, const uint32_t* sums, int32_t* out, size_t count);
/// No dither.
void quantise32(const float* in, int32_t* out, size_t count);
/// The low three bytes of each integer, packed.
void packTo24Bits(const int32_t* in, std::byte* out, size_t count);

/// out[i] = in[i] * scale, for the integers that a decoder hands out.
void scaleIntegers(const int32_t* in, float scale, float* out, size_t count);
/// The nearest integer of `bits` (up to 32) bits, halves away from zero; what is louder than full scale
/// becomes the largest code of its sign, a NaN 0. No dither.
void roundToIntegers(const float* in, int bits, int32_t* out, size_t count);

/// Every stride-th 32-bit float of unaligned memory.
void gatherFloats(const std::byte* in, size_t stride, float* out, size_t count);
/// Every stride-th 64-bit float, narrowed.
void narrowDoubles(const std::byte* in, size_t stride, float* out, size_t count);

/// Frame by frame: out[frame * channels.size() + c] = channels[c][frame].
void interleave(std::span<const float* const> channels, float* out, size_t numFrames);

/// out[2 i] = left * in[i], out[2 i + 1] = right * in[i].
void spreadToStereo(const float* in, float left, float right, float* out, size_t numFrames);
/// The same, added to what is there.
void addToStereo(const float* in, float left, float right, float* out, size_t numFrames);

/// numBlocks * 16 sums of two 31-bit draws each, from sixteen generators whose state words are state[0 .. 3].
void triangularSums(uint32_t (&state)[4][16], uint32_t* out, size_t numBlocks);

} // namespace SampleKernels

} // namespace velloria
