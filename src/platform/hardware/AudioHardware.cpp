#include "platform/hardware/AudioHardware.h"

#include "platform/hardware/HardwareCodes.h"
#include "platform/hardware/PulseHardware.h"

#include <algorithm>
#include <numeric>

namespace velloria
{

namespace
{

std::shared_ptr<AudioHardware>& currentHardware()
{
    static std::shared_ptr<AudioHardware> hardware;
    return hardware;
}

bool operator==(const HardwareSide::Gain& a, const HardwareSide::Gain& b)
{
    return a.value == b.value && a.isSettable == b.isSettable;
}

bool haveSameGains(const HardwareSide& a, const HardwareSide& b)
{
    return std::equal(
        a.gains.begin(), a.gains.end(), b.gains.begin(), b.gains.end(),
        [](const auto& x, const auto& y) { return x.first == y.first && x.second == y.second; });
}

std::vector<HardwareChange> changesOfDevice(const HardwareDevice& before, const HardwareDevice& after)
{
    std::vector<HardwareChange> changes;
    const auto add = [&](FourCharCode selector, FourCharCode scope) {
        changes.push_back({after.id, selector, scope});
    };
    if (before.name != after.name)
        add(HardwareCode::kName, HardwareCode::kGlobal);
    if (before.sampleRate != after.sampleRate)
        add(HardwareCode::kNominalSampleRate, HardwareCode::kGlobal);
    for (const AudioDirection direction : {AudioDirection::input, AudioDirection::output}) {
        const FourCharCode scope = HardwareCode::scopeOf(direction);
        const HardwareSide& old = before.side(direction);
        const HardwareSide& now = after.side(direction);
        if (old.streamChannels != now.streamChannels)
            add(HardwareCode::kStreamConfiguration, scope);
        if (!haveSameGains(old, now))
            add(HardwareCode::kVolume, scope);
    }
    return changes;
}

} // namespace

uint32_t HardwareSide::numChannels() const
{
    return std::accumulate(streamChannels.begin(), streamChannels.end(), 0U);
}

const HardwareDevice* HardwareState::deviceWithID(uint32_t id) const
{
    const auto found = std::find_if(devices.begin(), devices.end(),
                                    [id](const HardwareDevice& device) { return device.id == id; });
    return found == devices.end() ? nullptr : &*found;
}

const HardwareDevice* HardwareState::deviceWithUID(const QString& uid) const
{
    const auto found = std::find_if(devices.begin(), devices.end(),
                                    [&uid](const HardwareDevice& device) { return device.uid == uid; });
    return found == devices.end() ? nullptr : &*found;
}

AudioHardware& AudioHardware::current()
{
    if (!currentHardware())
        currentHardware() = std::make_shared<PulseHardware>();
    return *currentHardware();
}

void AudioHardware::setCurrent(std::shared_ptr<AudioHardware> hardware)
{
    currentHardware() = std::move(hardware);
}

int AudioHardware::addObserver(Observer observer)
{
    mObservers.emplace(mNextToken, std::move(observer));
    return mNextToken++;
}

void AudioHardware::removeObserver(int token)
{
    mObservers.erase(token);
}

void AudioHardware::tellObservers(const HardwareChange& change)
{
    // A copy: an observer may leave while it is told.
    for (const auto& [token, observer] : std::map(mObservers))
        if (mObservers.count(token) > 0)
            observer(change);
}

void AudioHardware::tellDifferences(const HardwareState& before, const HardwareState& after)
{
    std::vector<HardwareChange> changes;
    const auto ids = [](const HardwareState& state) {
        std::vector<uint32_t> list;
        for (const HardwareDevice& device : state.devices)
            list.push_back(device.id);
        return list;
    };
    const auto add = [&changes](FourCharCode selector) {
        changes.push_back({HardwareChange::kSystemObject, selector, HardwareCode::kGlobal});
    };
    if (ids(before) != ids(after))
        add(HardwareCode::kDevices);
    if (before.defaultInput != after.defaultInput)
        add(HardwareCode::kDefaultInput);
    if (before.defaultOutput != after.defaultOutput)
        add(HardwareCode::kDefaultOutput);
    for (const HardwareDevice& device : after.devices)
        if (const HardwareDevice* const old = before.deviceWithID(device.id))
            for (const HardwareChange& change : changesOfDevice(*old, device))
                changes.push_back(change);
    for (const HardwareChange& change : changes)
        tellObservers(change);
}

} // namespace velloria
