#pragma once

#include <QByteArray>
#include <cstdint>
#include <span>

namespace velloria
{

/// What the head of an Apple Lossless packet and the cookie of its stream tell.
namespace AppleLosslessPacket
{

/// Of a packet's head, as far as it is read here.
constexpr int64_t headBytes = 7;

/// Frames of a packet: a full one, unless its head says how many. The head: 3 bits element, 4 instance, 12
/// unused, 1 "has a frame count", 2 shift, 1 verbatim, then 32 bits frame count.
int64_t numFrames(std::span<const uint8_t> packet, int64_t fullFrames);

/// Whether packets of a stream with one cookie mean the same in a stream with another one: as long, as wide,
/// coded with the same parameters, of as many channels.
bool areAlike(const QByteArray& cookie, const QByteArray& other);

} // namespace AppleLosslessPacket

} // namespace velloria
