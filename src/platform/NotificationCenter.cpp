#include "platform/NotificationCenter.h"

#include "platform/DispatchQueue.h"

#include <QCoreApplication>
#include <QThread>
#include <vector>

namespace velloria
{

NotificationCenter& NotificationCenter::standard()
{
    static NotificationCenter center;
    return center;
}

NotificationCenter::Token NotificationCenter::addObserver(const QString& name, Observer observer,
                                                          const void* sender)
{
    const Token token = mNextToken++;
    mEntries.emplace(token, Entry{name, sender, std::move(observer)});
    return token;
}

void NotificationCenter::removeObserver(Token token)
{
    mEntries.erase(token);
}

void NotificationCenter::post(const QString& name, const void* sender)
{
    if (qApp && QThread::currentThread() != qApp->thread()) {
        postToMainThread([this, name, sender] { post(name, sender); });
        return;
    }
    std::vector<Token> tokens;
    for (const auto& [token, entry] : mEntries) {
        if (entry.name == name && (!entry.sender || entry.sender == sender))
            tokens.push_back(token);
    }
    for (const Token token : tokens) {
        // An observer may have removed this one, and this one may remove itself while it runs.
        const auto found = mEntries.find(token);
        if (found == mEntries.end())
            continue;
        const Observer observer = found->second.observer;
        observer(sender);
    }
}

} // namespace velloria
