#pragma once

#include "platform/FourCharCode.h"
#include "platform/hardware/AudioStreams.h"

#include <QString>
#include <map>
#include <vector>

namespace velloria
{

enum class AudioDirection { input, output };

/// One direction of a device.
struct HardwareSide {
    struct Gain {
        float value = 0.0F; ///< 0 to 1
        bool isSettable = false;
    };

    /// Channels of each stream; empty where the device has none in this direction.
    std::vector<uint32_t> streamChannels;
    /// By element: 0 is the master, 1 the first channel.
    std::map<uint32_t, Gain> gains;

    uint32_t numChannels() const;
};

/// What is known of one device.
struct HardwareDevice {
    uint32_t id = 0; ///< stays with the UID for as long as the program runs
    QString uid;     ///< stays the same from one start of the machine to the next
    QString name;    ///< for a person
    double sampleRate = 0.0;
    HardwareSide input;
    HardwareSide output;
    bool isMonitor = false; ///< an input that hears what an output plays

    const HardwareSide& side(AudioDirection direction) const
    {
        return direction == AudioDirection::input ? input : output;
    }
};

/// All devices at one moment. A default of 0 means that there is none.
struct HardwareState {
    std::vector<HardwareDevice> devices;
    uint32_t defaultInput = 0;
    uint32_t defaultOutput = 0;

    const HardwareDevice* deviceWithID(uint32_t id) const;
    const HardwareDevice* deviceWithUID(const QString& uid) const;
};

/// A property of an object (1 is the system, others are devices) that has another value now, under the codes
/// that VLAudioObject knows.
struct HardwareChange {
    static constexpr uint32_t kSystemObject = 1;

    uint32_t objectID = 0;
    FourCharCode selector = 0;
    FourCharCode scope = 0;

    bool operator==(const HardwareChange&) const = default;
};

/// The audio devices of this machine. Main thread.
class AudioHardware
{
public:
    using Observer = std::function<void(const HardwareChange&)>;

    /// The devices that the program uses: the sound server's, reached for at the first question, unless
    /// setCurrent() gave others.
    static AudioHardware& current();
    /// For tests; null goes back to the sound server. Nobody may hold a stream of the previous one.
    static void setCurrent(std::shared_ptr<AudioHardware> hardware);

    virtual ~AudioHardware() = default;

    /// Without a sound server there are no devices.
    virtual HardwareState state() = 0;
    /// Why there are no devices.
    virtual MaybeError unavailable() { return std::nullopt; }
    /// False when the device or the element is not there, or cannot be set.
    virtual bool setGain(uint32_t device, AudioDirection direction, uint32_t element, float gain) = 0;

    /// What a stream is for, as the desktop shows it.
    struct StreamRequest {
        uint32_t device = 0;
        QString name;
        StoppedHandler didStop; ///< called on the main thread
        /// How far ahead of the ear an output asks for frames: long enough for a thread without priority on a
        /// busy machine, short enough to feel immediate.
        double latencySeconds = 0.1;
    };
    virtual std::unique_ptr<OutputStream> openOutput(const StreamRequest& request, OutputClient& client,
                                                     MaybeError* error) = 0;
    virtual std::unique_ptr<InputStream> openInput(const StreamRequest& request, InputClient& client,
                                                   MaybeError* error) = 0;

    /// Observers are called on the main thread, through the event loop.
    int addObserver(Observer observer);
    void removeObserver(int token);

protected:
    void tellObservers(const HardwareChange& change);
    /// Tells what is different.
    void tellDifferences(const HardwareState& before, const HardwareState& after);

private:
    std::map<int, Observer> mObservers;
    int mNextToken = 1;
};

} // namespace velloria
