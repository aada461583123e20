#pragma once

#include "engine/SoundServer.h"

namespace velloria::kit
{

/// PipeWire with the part that speaks as PulseAudio does and a session manager, without any bus and without
/// looking for devices of the machine. Not installed, or not able to start here, it has a problem().
class PipeWireServer : public SoundServer
{
public:
    explicit PipeWireServer(std::vector<Sink> sinks = usualSinks())
        : SoundServer(std::move(sinks))
    {
        setSocket(folder() + "/native");
        qputenv("PIPEWIRE_RUNTIME_DIR", QByteArray::fromStdString(folder()));
        qputenv("WIREPLUMBER_CONFIG_DIR", kConfiguration + QByteArray("/session"));
        qunsetenv("PIPEWIRE_REMOTE");
        qputenv("WIREPLUMBER_DEBUG", "0");
        start();
    }

    void start() final
    {
        const std::string configuration = kConfiguration;
        run({"pipewire", "-c", configuration + "/server.conf"});
        if (!waitWhileItRuns([this] { return isListening(folder() + "/pipewire-0"); }, kPatience))
            return setProblem("pipewire does not start");
        run({"wireplumber"});
        run({"pipewire", "-c", configuration + "/pulse.conf"});
        if (!waitWhileItRuns([] { return tell({QStringLiteral("info")}); }, kPatience))
            return setProblem("pipewire-pulse or wireplumber does not start");
        for (const Sink& sink : sinks())
            if (!tell({QStringLiteral("load-module"), QStringLiteral("module-null-sink"),
                       QString::fromStdString(nullSinkArguments(sink))}))
                return setProblem("pipewire-pulse has no null sink");
        // The session manager has seen them when one is the default.
        if (!waitWhileItRuns([] { return hasDefaultSink(); }, kPatience))
            return setProblem("wireplumber does not choose a default sink");
    }

private:
    static constexpr const char* kConfiguration = VELLORIA_PIPEWIRE_CONFIGURATION;
    static constexpr std::chrono::seconds kPatience{20};

    static bool hasDefaultSink()
    {
        const QByteArray info = ask({QStringLiteral("info")}).second;
        return info.contains("Default Sink: ") && !info.contains("Default Sink: @");
    }
};

} // namespace velloria::kit
