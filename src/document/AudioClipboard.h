#pragma once

#include "document/ClipboardClip.h"

#include <memory>

namespace velloria
{

/// The application-wide clipboard. Main thread.
class AudioClipboard
{
public:
    static AudioClipboard& clipboard();

    const std::shared_ptr<ClipboardClip>& contents() const { return mContents; }
    void setContents(std::shared_ptr<ClipboardClip> contents) { mContents = std::move(contents); }
    bool hasContent() const { return mContents != nullptr; }

private:
    std::shared_ptr<ClipboardClip> mContents;
};

} // namespace velloria
