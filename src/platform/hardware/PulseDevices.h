#pragma once

#include "platform/hardware/AudioHardware.h"
#include "platform/hardware/PulseConnection.h"

#include <QByteArray>

namespace velloria
{

/// What a stream to one device of the server needs to know.
struct PulseDevice {
    QByteArray pulseName;
    pa_sample_spec sampleSpec = {};
    pa_channel_map channelMap = {};
};

/// Asks the server for all of its devices, one list after the other, and puts them together. A sink and a
/// source of one name are one device. Lives on libpulse's thread, or under the lock of its connection.
class PulseDevices
{
public:
    struct Lists {
        HardwareState state;
        std::map<uint32_t, PulseDevice> outputs;
        std::map<uint32_t, PulseDevice> inputs;
    };
    using Handler = std::function<void(const Lists&)>;

    /// IDs given so far by UID; they outlive a connection.
    using IDs = std::map<QString, uint32_t>;

    PulseDevices(PulseConnection& connection, IDs& ids, Handler didGather)
        : mConnection(connection)
        , mIDs(ids)
        , mDidGather(std::move(didGather))
    {
    }

    /// The handler is called once the lists are there. A call meanwhile makes it begin anew afterwards.
    void gather();

private:
    void takeServer(const pa_server_info* info);
    void takeSink(const pa_sink_info* info, int end);
    void takeSource(const pa_source_info* info, int end);
    void finish();
    HardwareDevice& deviceNamed(const char* name, const char* description, uint32_t rate);
    /// The one of that name. PipeWire names none, or one that is gone, until its session manager has chosen
    /// another: then the first of the direction, rather a real input than what an output plays.
    uint32_t defaultDevice(AudioDirection direction, const QByteArray& name) const;

    PulseConnection& mConnection;
    IDs& mIDs;
    Handler mDidGather;
    Lists mLists;
    QByteArray mDefaultSink;
    QByteArray mDefaultSource;
    bool mIsGathering = false;
    bool mIsStale = false;
};

} // namespace velloria
