#include "app/recovery/LeftOverSearch.h"

#include "platform/ScratchFolder.h"

#include <utility>

namespace velloria
{

LeftOverSearch::LeftOverSearch(Found found)
    : mIsStopped(std::make_shared<std::atomic<bool>>(false))
    , mQueue(QStringLiteral("LeftOverSearch"))
{
    mQueue.async([isStopped = mIsStopped, found = std::move(found)] {
        auto sounds =
            LeftOverSounds::find(ScratchFolder::leftOvers(), [&isStopped] { return isStopped->load(); });
        postToMainThread([isStopped, found, sounds = std::move(sounds)]() mutable {
            if (!isStopped->load())
                found(std::move(sounds));
        });
    });
}

LeftOverSearch::~LeftOverSearch()
{
    mIsStopped->store(true);
}

} // namespace velloria
