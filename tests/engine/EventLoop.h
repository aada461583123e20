#pragma once

#include <QCoreApplication>
#include <QEventLoop>
#include <chrono>
#include <functional>

namespace velloria::kit
{

/// Runs the event loop until something is so; false when it does not come to be in that time.
inline bool waitUntil(const std::function<bool()>& isSo,
                      std::chrono::seconds patience = std::chrono::seconds(60))
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!isSo() && std::chrono::steady_clock::now() < deadline)
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    return isSo();
}

} // namespace velloria::kit
