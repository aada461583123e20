#pragma once

#include <QString>
#include <functional>
#include <map>

namespace velloria
{

/// Announces changes by name ("zoomDidChange", "selectionDidChange", ...). Observers are called on the main
/// thread: at once when the poster is on it, else through the event loop.
class NotificationCenter
{
public:
    using Observer = std::function<void(const void* sender)>;
    using Token = int;

    static NotificationCenter& standard();

    /// Observes `name` from any sender, or only from `sender` when one is given. Main thread.
    Token addObserver(const QString& name, Observer observer, const void* sender = nullptr);
    void removeObserver(Token token);

    void post(const QString& name, const void* sender = nullptr);

private:
    struct Entry {
        QString name;
        const void* sender;
        Observer observer;
    };
    std::map<Token, Entry> mEntries;
    Token mNextToken = 1;
};

} // namespace velloria
