#include "cli/terminal/Terminal.h"

#include "platform/FileHandle.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace velloria
{

namespace
{

volatile std::sig_atomic_t gIsInterrupted = 0;

constexpr std::chrono::milliseconds kUpdateInterval(83);
constexpr std::chrono::duration<double> kShortJob(1.0);
constexpr int kBarWidth = 40;
constexpr qsizetype kMaxTitle = 30;

void writeToStandardError(const QByteArray& bytes)
{
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
    std::fflush(stderr);
}

extern "C" void handleInterrupt(int)
{
    gIsInterrupted = 1;
}

void catchInterrupt(int signal)
{
    struct sigaction present = {};
    ::sigaction(signal, nullptr, &present);
    // Started with nohup and the like: it stays ignored.
    if (present.sa_handler == SIG_IGN)
        return;
    struct sigaction action = {};
    action.sa_handler = handleInterrupt;
    // Without SA_RESTART a read that waits for input ends; the second signal does what it always does.
    action.sa_flags = SA_RESETHAND;
    ::sigaction(signal, &action, nullptr);
}

} // namespace

QString Terminal::withoutControls(const QString& text)
{
    QString clean = text;
    for (QChar& character : clean)
        if (character.category() == QChar::Other_Control || character == QChar(QChar::LineSeparator) ||
            character == QChar(QChar::ParagraphSeparator))
            character = u'?';
    return clean;
}

void Terminal::say(const QString& message)
{
    writeToStandardError("velloria-cli: " + withoutControls(message).toUtf8() + '\n');
}

void Terminal::sayError(const Error& error, const std::filesystem::path& path)
{
    if (error.isUserCancelled()) {
        say(QStringLiteral("cancelled"));
        return;
    }
    const QString shownPath = displayPath(path);
    const bool namesPath = path.empty() || error.message.contains(shownPath);
    say(namesPath ? error.message : QStringLiteral("%1: %2").arg(shownPath, error.message));
}

void Terminal::sayAll(const QStringList& messages, const std::filesystem::path& path)
{
    for (const QString& message : messages)
        say(QStringLiteral("%1: %2").arg(displayPath(path), message));
}

void Terminal::catchSignals()
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        catchInterrupt(signal);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

bool Terminal::isInterrupted()
{
    return gIsInterrupted != 0;
}

TerminalProgress::TerminalProgress(const QString& title)
    : mHasTerminal(::isatty(STDERR_FILENO) != 0)
{
    Progress::setTitle(title);
}

TerminalProgress::~TerminalProgress()
{
    if (mIsShown)
        writeToStandardError("\r\033[K");
}

void TerminalProgress::setProgressValue(double value)
{
    if (!mHasTerminal || !(value > 0.0))
        return;
    const Clock::time_point now = Clock::now();
    if (now - mLastUpdate < kUpdateInterval)
        return;
    mLastUpdate = now;
    const std::chrono::duration<double> elapsed = now - mStart;
    if (mIsShown || elapsed / value > kShortJob)
        draw(std::min(value, 1.0));
}

void TerminalProgress::draw(double value)
{
    mIsShown = true;
    const auto numFull = static_cast<int>(value * kBarWidth);
    const QString title = Terminal::withoutControls(this->title().left(kMaxTitle));
    writeToStandardError("\r\033[K" + title.toUtf8() + "  [" + QByteArray(numFull, '#') +
                         QByteArray(kBarWidth - numFull, ' ') + "] " +
                         QByteArray::number(static_cast<int>(value * 100.0)) + '%');
}

} // namespace velloria
