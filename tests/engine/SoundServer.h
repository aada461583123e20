#pragma once

#include <QProcess>
#include <QTemporaryDir>
#include <chrono>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
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

/// A sound server of the test's own: its folder, its socket, null sinks only. For as long as it lives
/// programs and libraries started by the test talk to it and to no other. A server that cannot start says why
/// in problem().
class SoundServer
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

    virtual ~SoundServer()
    {
        stop();
        qunsetenv("PULSE_SERVER");
    }
    SoundServer(const SoundServer&) = delete;
    SoundServer& operator=(const SoundServer&) = delete;

    virtual void start() = 0;

    /// As a crash would.
    void stop()
    {
        for (const pid_t process : mProcesses) {
            ::kill(process, SIGKILL);
            ::waitpid(process, nullptr, 0);
        }
        mProcesses.clear();
        ::unlink(mSocket.c_str());
    }

    /// It answers nobody any more, but does not go away either.
    void freeze() const { signal(SIGSTOP); }
    void thaw() const { signal(SIGCONT); }

    bool isUsable() const { return mProblem.empty(); }
    const std::string& problem() const { return mProblem; }

    /// A word to the server.
    static bool tell(const QStringList& words) { return ask(words).first == 0; }
    /// A source of its own that hears what another one hears.
    static bool addRemappedSource(const QString& name, const QString& master)
    {
        return tell({QStringLiteral("load-module"), QStringLiteral("module-remap-source"),
                     QStringLiteral("source_name=") + name, QStringLiteral("master=") + master,
                     QStringLiteral("source_properties=device.description=") + name});
    }
    /// As if it were unplugged.
    static bool takeSinkAway(const QString& name)
    {
        for (const QByteArray& line :
             ask({QStringLiteral("list"), QStringLiteral("short"), QStringLiteral("modules")})
                 .second.split('\n'))
            if (line.contains("sink_name=" + name.toUtf8() + ' '))
                return tell({QStringLiteral("unload-module"), QString::fromUtf8(line.split('\t').first())});
        return false;
    }

protected:
    explicit SoundServer(std::vector<Sink> sinks)
        : mSinks(std::move(sinks))
    {
    }

    std::string folder() const { return mFolder.path().toStdString(); }
    void setSocket(const std::string& path)
    {
        mSocket = path;
        qputenv("PULSE_SERVER", QByteArray("unix:") + path.c_str());
        for (const char* variable : {"XDG_RUNTIME_DIR", "PULSE_RUNTIME_PATH", "PULSE_STATE_PATH", "HOME"})
            qputenv(variable, mFolder.path().toLocal8Bit());
        // Without this it would look for a session bus and a display.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    }
    const std::string& socket() const { return mSocket; }

    static std::string nullSinkArguments(const Sink& sink)
    {
        return "sink_name=" + sink.name + " rate=" + std::to_string(sink.rate) +
               " channels=" + std::to_string(sink.channels) +
               " sink_properties=device.description=" + sink.name;
    }

    /// Starts a program that ends with the test, however that ends.
    void run(std::vector<std::string> words)
    {
        words.insert(words.begin(), {"setpriv", "--pdeathsig", "KILL"});
        std::vector<char*> arguments;
        for (std::string& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        pid_t process = 0;
        if (::posix_spawnp(&process, arguments[0], nullptr, nullptr, arguments.data(), environ) == 0)
            mProcesses.push_back(process);
    }

    /// Waits until something is so, while all that was started still runs.
    bool waitWhileItRuns(const std::function<bool()>& isSo, std::chrono::seconds patience)
    {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (std::chrono::steady_clock::now() < deadline) {
            if (std::erase_if(mProcesses,
                              [](pid_t process) { return ::waitpid(process, nullptr, WNOHANG) != 0; }))
                return false;
            if (isSo())
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    /// Somebody answers at a socket.
    static bool isListening(const std::string& path)
    {
        const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        const bool isConnected =
            ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        ::close(descriptor);
        return isConnected;
    }

    /// What pactl returns and says.
    static std::pair<int, QByteArray> ask(const QStringList& words)
    {
        QProcess pactl;
        pactl.start(QStringLiteral("pactl"), words);
        if (!pactl.waitForFinished(10000)) {
            pactl.kill();
            pactl.waitForFinished();
            return {-1, {}};
        }
        return {pactl.exitCode(), pactl.readAllStandardOutput()};
    }

    const std::vector<Sink>& sinks() const { return mSinks; }
    void setProblem(const std::string& problem) { mProblem = problem; }

private:
    void signal(int number) const
    {
        for (const pid_t process : mProcesses)
            ::kill(process, number);
    }

    QTemporaryDir mFolder;
    std::string mSocket;
    std::vector<Sink> mSinks;
    std::vector<pid_t> mProcesses;
    std::string mProblem;
};

} // namespace velloria::kit
