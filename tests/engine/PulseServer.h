#pragma once

#include <QTemporaryDir>
#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <spawn.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace velloria::kit
{

/// A PulseAudio server of the test's own: its folder, its socket, null sinks only. For as long as it lives
/// programs and libraries started by the test talk to it and to no other.
class PulseServer
{
public:
    struct Sink {
        std::string name;
        int rate = 44100;
        int channels = 2;
    };

    static std::vector<Sink> usualSinks()
    {
        return {{"two44", 44100, 2}, {"two48", 48000, 2}, {"two96", 96000, 2}, {"six48", 48000, 6}};
    }

    explicit PulseServer(std::vector<Sink> sinks = usualSinks())
        : mSinks(std::move(sinks))
    {
        const QByteArray folder = mFolder.path().toLocal8Bit();
        mSocket = folder.toStdString() + "/native";
        qputenv("PULSE_SERVER", QByteArray("unix:") + mSocket.c_str());
        for (const char* variable : {"XDG_RUNTIME_DIR", "PULSE_RUNTIME_PATH", "PULSE_STATE_PATH", "HOME"})
            qputenv(variable, folder);
        // Without these it would look for a session bus and a display.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
        start();
    }
    ~PulseServer()
    {
        stop();
        qunsetenv("PULSE_SERVER");
    }
    PulseServer(const PulseServer&) = delete;
    PulseServer& operator=(const PulseServer&) = delete;

    void start()
    {
        std::vector<std::string> words = {"pulseaudio",
                                          "-n",
                                          "--daemonize=no",
                                          "--use-pid-file=no",
                                          "--exit-idle-time=-1",
                                          "--realtime=no",
                                          "--disable-shm=yes",
                                          "--log-target=file:" + mSocket + ".log",
                                          "-L",
                                          "module-native-protocol-unix auth-anonymous=1 socket=" + mSocket};
        for (const Sink& sink : mSinks) {
            words.emplace_back("-L");
            words.push_back("module-null-sink format=float32le sink_name=" + sink.name + " rate=" +
                            std::to_string(sink.rate) + " channels=" + std::to_string(sink.channels) +
                            " sink_properties=device.description=" + sink.name);
        }
        std::vector<char*> arguments;
        for (const std::string& word : words)
            arguments.push_back(const_cast<char*>(word.c_str()));
        arguments.push_back(nullptr);
        ::posix_spawnp(&mProcess, "pulseaudio", nullptr, nullptr, arguments.data(), environ);
        waitUntilItListens();
    }

    /// As a crash would.
    void stop()
    {
        if (mProcess <= 0)
            return;
        ::kill(mProcess, SIGKILL);
        ::waitpid(mProcess, nullptr, 0);
        ::unlink(mSocket.c_str());
        mProcess = 0;
    }

    bool isUsable() const { return mIsUsable; }

private:
    /// The server loads its modules before it answers anybody, so a connection is enough.
    void waitUntilItListens()
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (std::chrono::steady_clock::now() < deadline && ::waitpid(mProcess, nullptr, WNOHANG) == 0) {
            const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
            sockaddr_un address = {};
            address.sun_family = AF_UNIX;
            mSocket.copy(address.sun_path, sizeof address.sun_path - 1);
            mIsUsable =
                ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
            ::close(descriptor);
            if (mIsUsable)
                return;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        ADD_FAILURE() << "pulseaudio did not start";
    }

    QTemporaryDir mFolder;
    std::string mSocket;
    std::vector<Sink> mSinks;
    pid_t mProcess = 0;
    bool mIsUsable = false;
};

} // namespace velloria::kit
