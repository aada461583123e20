#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>
#include <termios.h>

namespace velloria
{

/// Hands over the keys that are typed at the terminal, one by one and unseen, for as long as it lives. Where
/// standard input is no terminal, or belongs to another job of the shell, no key ever comes.
class KeyReader
{
public:
    enum class Key { space, left, right, quit };

    explicit KeyReader(std::function<void(Key)> handler);
    /// The terminal is as before.
    ~KeyReader();
    KeyReader(const KeyReader&) = delete;
    KeyReader& operator=(const KeyReader&) = delete;

private:
    void read();

    std::function<void(Key)> mHandler;
    termios mBefore = {};
    std::unique_ptr<QSocketNotifier> mNotifier;
};

} // namespace velloria
