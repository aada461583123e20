#include "platform/hardware/PulseDevices.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr uint32_t kFirstDeviceID = HardwareChange::kSystemObject + 1;

PulseDevice describe(const char* name, const pa_sample_spec& spec, const pa_channel_map& map)
{
    return {QByteArray(name), spec, map};
}

} // namespace

void PulseDevices::gather()
{
    mIsStale = mIsGathering;
    if (mIsGathering)
        return;
    mIsGathering = true;
    mLists = {};
    mConnection.forget(mConnection.pulse().pa_context_get_server_info(
        mConnection.context(),
        [](pa_context*, const pa_server_info* info, void* self) {
            static_cast<PulseDevices*>(self)->takeServer(info);
        },
        this));
}

void PulseDevices::takeServer(const pa_server_info* info)
{
    mDefaultSink = info ? info->default_sink_name : nullptr;
    mDefaultSource = info ? info->default_source_name : nullptr;
    mConnection.forget(mConnection.pulse().pa_context_get_sink_info_list(
        mConnection.context(),
        [](pa_context*, const pa_sink_info* sink, int end, void* self) {
            static_cast<PulseDevices*>(self)->takeSink(sink, end);
        },
        this));
}

HardwareDevice& PulseDevices::deviceNamed(const char* name, const char* description, uint32_t rate)
{
    const QString uid = QString::fromUtf8(name);
    std::vector<HardwareDevice>& devices = mLists.state.devices;
    const auto found = std::find_if(devices.begin(), devices.end(),
                                    [&uid](const HardwareDevice& device) { return device.uid == uid; });
    if (found != devices.end())
        return *found;
    const auto nextID = kFirstDeviceID + static_cast<uint32_t>(mIDs.size());
    HardwareDevice device;
    device.id = mIDs.emplace(uid, nextID).first->second;
    device.uid = uid;
    device.name = QString::fromUtf8(description && *description ? description : name);
    device.sampleRate = rate;
    return devices.emplace_back(device);
}

void PulseDevices::takeSink(const pa_sink_info* sink, int end)
{
    if (end == 0) {
        HardwareDevice& device = deviceNamed(sink->name, sink->description, sink->sample_spec.rate);
        device.output.streamChannels = {sink->sample_spec.channels};
        mLists.outputs[device.id] = describe(sink->name, sink->sample_spec, sink->channel_map);
        return;
    }
    mConnection.forget(mConnection.pulse().pa_context_get_source_info_list(
        mConnection.context(),
        [](pa_context*, const pa_source_info* source, int sourceEnd, void* self) {
            static_cast<PulseDevices*>(self)->takeSource(source, sourceEnd);
        },
        this));
}

void PulseDevices::takeSource(const pa_source_info* source, int end)
{
    if (end != 0) {
        finish();
        return;
    }
    HardwareDevice& device = deviceNamed(source->name, source->description, source->sample_spec.rate);
    device.input.streamChannels = {source->sample_spec.channels};
    device.isMonitor = source->monitor_of_sink != PA_INVALID_INDEX;
    const auto volume = static_cast<float>(mConnection.pulse().pa_cvolume_avg(&source->volume));
    constexpr auto full = static_cast<float>(PA_VOLUME_NORM);
    device.input.gains[0] = {std::clamp(volume / full, 0.0F, 1.0F), true};
    mLists.inputs[device.id] = describe(source->name, source->sample_spec, source->channel_map);
}

uint32_t PulseDevices::defaultDevice(AudioDirection direction, const QByteArray& name) const
{
    const auto isOfDirection = [direction](const HardwareDevice& device) {
        return device.side(direction).numChannels() > 0;
    };
    const HardwareDevice* const named = mLists.state.deviceWithUID(QString::fromUtf8(name));
    if (named && isOfDirection(*named))
        return named->id;
    const HardwareDevice* substitute = nullptr;
    for (const HardwareDevice& device : mLists.state.devices)
        if (isOfDirection(device) && (!substitute || (substitute->isMonitor && !device.isMonitor)))
            substitute = &device;
    return substitute ? substitute->id : 0;
}

void PulseDevices::finish()
{
    mLists.state.defaultOutput = defaultDevice(AudioDirection::output, mDefaultSink);
    mLists.state.defaultInput = defaultDevice(AudioDirection::input, mDefaultSource);
    mDidGather(mLists);
    mIsGathering = false;
    if (mIsStale)
        gather();
}

} // namespace velloria
