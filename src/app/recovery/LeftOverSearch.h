#pragma once

#include "document/LeftOverSounds.h"
#include "platform/DispatchQueue.h"

#include <atomic>
#include <functional>
#include <memory>

namespace velloria
{

/// Looks for the sounds that earlier runs left, in the background: ten thousand files take seconds, in which
/// windows must not stand still. Main thread; nothing is told once it is gone.
class LeftOverSearch
{
public:
    using Found = std::function<void(std::vector<LeftOverSound>)>;
    /// `found` is called once, on the main thread.
    explicit LeftOverSearch(Found found);
    /// Waits for the file that is looked at just now.
    ~LeftOverSearch();
    LeftOverSearch(const LeftOverSearch&) = delete;
    LeftOverSearch& operator=(const LeftOverSearch&) = delete;

private:
    std::shared_ptr<std::atomic<bool>> mIsStopped;
    DispatchQueue mQueue;
};

} // namespace velloria
