#include "cli/terminal/KeyReader.h"

#include <QByteArray>
#include <unistd.h>

namespace velloria
{

KeyReader::KeyReader(std::function<void(Key)> handler)
    : mHandler(std::move(handler))
{
    // Setting up the terminal from the background would stop the program.
    if (::tcgetpgrp(STDIN_FILENO) != ::getpgrp() || ::tcgetattr(STDIN_FILENO, &mBefore) != 0)
        return;
    termios now = mBefore;
    now.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    now.c_cc[VMIN] = 0;
    now.c_cc[VTIME] = 0;
    if (::tcsetattr(STDIN_FILENO, TCSANOW, &now) != 0)
        return;
    mNotifier = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(mNotifier.get(), &QSocketNotifier::activated, mNotifier.get(), [this] { read(); });
}

KeyReader::~KeyReader()
{
    if (mNotifier)
        ::tcsetattr(STDIN_FILENO, TCSANOW, &mBefore);
}

void KeyReader::read()
{
    char bytes[64];
    const ssize_t size = ::read(STDIN_FILENO, bytes, sizeof bytes);
    if (size <= 0) {
        // The terminal is gone.
        mNotifier->setEnabled(false);
        return;
    }
    QByteArray keys(bytes, static_cast<qsizetype>(size));
    while (!keys.isEmpty()) {
        qsizetype length = 1;
        if (keys.startsWith("\x1b[D") || keys.startsWith("\x1bOD"))
            mHandler(Key::left), length = 3;
        else if (keys.startsWith("\x1b[C") || keys.startsWith("\x1bOC"))
            mHandler(Key::right), length = 3;
        else if (keys.startsWith(' '))
            mHandler(Key::space);
        else if (keys.startsWith('q'))
            mHandler(Key::quit);
        keys.remove(0, length);
    }
}

} // namespace velloria
