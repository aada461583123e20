#pragma once

#include "platform/hardware/AudioHardware.h"

namespace velloria
{

class SimulatedOutput;
class SimulatedInput;

/// Devices that exist in memory only and move when they are told to, to the frame: the person at the controls
/// says which devices there are, and when a device wants how many frames. For finding out what the engine
/// does with odd block sizes, devices that go away and devices that refuse.
class SimulatedHardware : public AudioHardware
{
public:
    /// One stereo output and one stereo input at 44100 Hz, the defaults, with the UIDs "out" and "in".
    SimulatedHardware();

    static HardwareDevice outputDevice(uint32_t id, const QString& uid, double sampleRate,
                                       uint32_t numChannels = 2);
    static HardwareDevice inputDevice(uint32_t id, const QString& uid, double sampleRate,
                                      uint32_t numChannels = 2);

    /// Installs other devices and tells the observers what is different. Streams to devices that are gone
    /// stop.
    void setState(const HardwareState& state);
    void unplug(const QString& uid);
    /// From now on no stream opens; a null error lets them again.
    void setOpenError(MaybeError error) { mOpenError = std::move(error); }
    void setStartError(MaybeError error) { mStartError = std::move(error); }
    const MaybeError& startError() const { return mStartError; }
    /// From now on outputs let frames be heard so many frames after they asked for them, and say that they
    /// ask for up to so many at once.
    void setOutputTiming(int64_t latencyFrames, int64_t mostFramesAsked);
    /// Inputs that run on when they are told to stop, as those of a server that hangs may seem to.
    void setInputsNeverStop(bool neverStop) { mInputsNeverStop = neverStop; }
    bool inputsNeverStop() const { return mInputsNeverStop; }

    /// The stream that was opened last and still is; null when there is none.
    SimulatedOutput* output() const { return mOutputs.empty() ? nullptr : mOutputs.back(); }
    SimulatedInput* input() const { return mInputs.empty() ? nullptr : mInputs.back(); }
    const std::vector<SimulatedInput*>& allInputs() const { return mInputs; }

    HardwareState state() override { return mState; }
    bool setGain(uint32_t device, AudioDirection direction, uint32_t element, float gain) override;
    std::unique_ptr<OutputStream> openOutput(const StreamRequest& request, OutputClient& client,
                                             MaybeError* error) override;
    std::unique_ptr<InputStream> openInput(const StreamRequest& request, InputClient& client,
                                           MaybeError* error) override;

private:
    friend class SimulatedOutput;
    friend class SimulatedInput;

    HardwareState mState;
    MaybeError mOpenError;
    MaybeError mStartError;
    bool mInputsNeverStop = false;
    int64_t mLatencyFrames = 0;
    int64_t mMostFramesAsked = 0;
    std::vector<SimulatedOutput*> mOutputs;
    std::vector<SimulatedInput*> mInputs;
};

} // namespace velloria
