#pragma once

#include "platform/hardware/PulseDevices.h"

#include <chrono>

namespace velloria
{

/// The devices of the sound server (PulseAudio, or PipeWire in its place). Connects at the first question and
/// then follows what the server tells. When the server goes away there are no devices until it is back; it is
/// looked for a few times by itself, and with every question. Main thread; libpulse's thread hands over what
/// it learns.
class PulseHardware : public AudioHardware, private PulseConnection::Listener
{
public:
    /// The longest that a question waits for a server that hangs: nobody who looks at a window wants to wait
    /// as long for it as a script would. It goes on being waited for in the background.
    explicit PulseHardware(std::chrono::milliseconds patience = std::chrono::seconds(5));
    ~PulseHardware() override;

    HardwareState state() override;
    MaybeError unavailable() override;
    bool setGain(uint32_t device, AudioDirection direction, uint32_t element, float gain) override;
    std::unique_ptr<OutputStream> openOutput(const StreamRequest& request, OutputClient& client,
                                             MaybeError* error) override;
    std::unique_ptr<InputStream> openInput(const StreamRequest& request, InputClient& client,
                                           MaybeError* error) override;

private:
    using Clock = std::chrono::steady_clock;

    void serverDidChange() override;
    void serverWasLost() override;

    bool ensureConnected();
    /// Begins a connection where there is none; does not wait.
    void beginToConnect();
    MaybeError connect();
    void disconnect();
    void install(const PulseDevices::Lists& lists);
    void lookForServerLater(int attempt);
    /// Runs the job on the main thread, if this is still there then.
    void postToSelf(std::function<void()> job);

    std::shared_ptr<PulseConnection> mConnection;
    std::unique_ptr<PulseDevices> mDevices;
    PulseDevices::IDs mIDs;
    PulseDevices::Lists mLists;
    const std::chrono::milliseconds mPatience;
    /// Under the connection's lock: what the server told first.
    std::shared_ptr<std::optional<PulseDevices::Lists>> mFirstLists;
    bool mIsConnected = false; ///< its devices are known
    std::shared_ptr<std::vector<class PulseStream*>> mStreams;
    MaybeError mError;
    std::optional<Clock::time_point> mLastAttempt;
    std::shared_ptr<bool> mIsAlive;
};

} // namespace velloria
