#include "app/desktop/TerminationSignals.h"

#include <QSocketNotifier>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace velloria
{

namespace
{

constexpr std::array kSignals = {SIGTERM, SIGINT, SIGHUP};

// A handler may do little more than write to a pipe.
int gPipe[2] = {-1, -1};

extern "C" void noteSignal(int)
{
    [[maybe_unused]] const ssize_t result = ::write(gPipe[1], "", 1);
}

} // namespace

TerminationSignals::TerminationSignals(QObject* parent)
    : QObject(parent)
{
    if (::pipe2(gPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    auto* const notifier = new QSocketNotifier(gPipe[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        char bytes[16];
        [[maybe_unused]] const ssize_t result = ::read(gPipe[0], bytes, sizeof bytes);
        Q_EMIT received();
    });
    for (const int signal : kSignals) {
        struct sigaction action = {};
        ::sigaction(signal, nullptr, &action);
        // Started with nohup and the like: it stays ignored.
        if (action.sa_handler == SIG_IGN)
            continue;
        action.sa_handler = noteSignal;
        action.sa_flags = SA_RESTART;
        ::sigaction(signal, &action, nullptr);
    }
}

TerminationSignals::~TerminationSignals()
{
    for (const int signal : kSignals)
        std::signal(signal, SIG_DFL);
    for (int& end : gPipe)
        ::close(std::exchange(end, -1));
}

} // namespace velloria
