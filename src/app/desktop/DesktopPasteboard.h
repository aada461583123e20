#pragma once

#include "platform/Pasteboard.h"

namespace velloria
{

/// The desktop's clipboard, for as long as it lives. Main thread.
class DesktopPasteboard : public Pasteboard
{
public:
    DesktopPasteboard() { Pasteboard::install(this); }
    ~DesktopPasteboard() override { Pasteboard::install(nullptr); }

    void setText(const QString& text) override;
    QString text() const override;
};

} // namespace velloria
