#pragma once

#include "platform/Error.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace velloria
{

/// Who makes the frames that a device plays.
class OutputClient
{
public:
    virtual ~OutputClient() = default;
    /// Called by the device's thread for the next frames, left and right, until the stream was stopped.
    /// Anything but 0 means that the buffers were not filled; the device then plays silence.
    ///
    /// REALTIME, as every function so marked. It must not: allocate or free; lock, or wait for another
    /// thread; write a log; open, read or write a file; call Qt; throw. It may: compute, use rings and fixed
    /// buffers, set and read atomics.
    virtual int32_t render(float* left, float* right, uint32_t numFrames) noexcept = 0;
    /// Called by the same thread when all of a request was rendered: what the calls of render() since the
    /// last time gave will be heard between these two times, in seconds on the clock of OutputStream::now().
    /// REALTIME.
    virtual void didRender(double /*heardFrom*/, double /*heardUntil*/) noexcept {}
};

/// Who takes the frames that a device records.
class InputClient
{
public:
    virtual ~InputClient() = default;
    /// Called by the device's thread with interleaved frames of the channels that were asked for. REALTIME.
    virtual void capture(const float* frames, uint32_t numFrames) noexcept = 0;
};

enum class StopMode {
    atOnce, ///< what the device still holds is dropped
    drain   ///< what was handed to the device is heard
};

/// Why a stream stopped by itself, or that it was asked to.
enum class StopReason { requested, deviceLost, serverLost, formatChanged };

using StoppedHandler = std::function<void(StopReason)>;

/// A stream of frames to one device. Made and used on the main thread. Destroying it stops it; afterwards no
/// call of its comes.
class OutputStream
{
public:
    virtual ~OutputStream() = default;

    /// Of the device.
    virtual double sampleRate() const = 0;
    virtual uint32_t numChannels() const = 0;

    /// For each channel of the device: 0 for the left frames, 1 for the right ones, -1 for silence. Takes
    /// effect at once, also while it runs.
    virtual void setChannelMap(std::span<const int32_t> map) = 0;

    virtual MaybeError start() = 0;
    /// Does not wait; the handler is called when the device stands still.
    virtual void stop(StopMode mode) = 0;
    virtual bool isRunning() const = 0;

    /// How often the device had nothing to play since the start, as far as it tells. Any thread.
    virtual uint64_t numUnderruns() const { return 0; }
    /// The most frames that the device asks for at once, as far as is known; 0 before the first request. Any
    /// thread.
    virtual int64_t mostFramesAsked() const { return 0; }
    /// Seconds on the clock that tells when frames are heard. Any thread.
    virtual double now() const = 0;
};

/// A stream of frames from one device; as OutputStream.
class InputStream
{
public:
    virtual ~InputStream() = default;

    virtual double sampleRate() const = 0;
    /// All that the device has.
    virtual uint32_t numDeviceChannels() const = 0;

    /// The device's channels that the client gets, one or two.
    virtual void setChannels(std::span<const int32_t> channels) = 0;

    virtual MaybeError start() = 0;
    virtual void stop() = 0;
    virtual bool isRunning() const = 0;
    /// How often the device lost frames since the start, as far as it tells. Any thread.
    virtual uint64_t numOverruns() const { return 0; }
};

} // namespace velloria
