#pragma once

#include "platform/DispatchQueue.h"
#include "platform/hardware/AudioStreams.h"

#include <memory>

namespace velloria
{

/// Calls a stream's stopped handler on the main thread, unless the stream is gone by then. The stream owns
/// it; post() may be called on any thread.
class StopNotice
{
public:
    explicit StopNotice(StoppedHandler handler)
        : mHandler(std::make_shared<StoppedHandler>(std::move(handler)))
    {
    }

    void post(StopReason reason) const
    {
        if (!*mHandler)
            return;
        postToMainThread([weak = std::weak_ptr(mHandler), reason] {
            // Held meanwhile: the handler may well destroy the stream.
            if (const std::shared_ptr<StoppedHandler> handler = weak.lock())
                (*handler)(reason);
        });
    }

private:
    std::shared_ptr<StoppedHandler> mHandler;
};

} // namespace velloria
