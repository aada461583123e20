#pragma once

#include "engine/SoundServer.h"

namespace velloria::kit
{

/// PulseAudio. That it starts is asked of every machine that runs the tests.
class PulseServer : public SoundServer
{
public:
    explicit PulseServer(std::vector<Sink> sinks = usualSinks())
        : SoundServer(std::move(sinks))
    {
        setSocket(folder() + "/native");
        start();
    }

    void start() final
    {
        std::vector<std::string> words = {"pulseaudio",
                                          "-n",
                                          "--daemonize=no",
                                          "--use-pid-file=no",
                                          "--exit-idle-time=-1",
                                          "--realtime=no",
                                          "--disable-shm=yes",
                                          "--log-target=file:" + socket() + ".log",
                                          "-L",
                                          "module-native-protocol-unix auth-anonymous=1 socket=" + socket()};
        for (const Sink& sink : sinks()) {
            words.emplace_back("-L");
            words.push_back("module-null-sink format=float32le " + nullSinkArguments(sink));
        }
        run(words);
        // The server loads its modules before it answers anybody, so a connection is enough.
        if (!waitWhileItRuns([this] { return isListening(socket()); }, std::chrono::seconds(60)))
            ADD_FAILURE() << "pulseaudio did not start";
    }
};

} // namespace velloria::kit
