#include "platform/Pasteboard.h"

namespace velloria
{

namespace
{

class MemoryPasteboard : public Pasteboard
{
public:
    void setText(const QString& text) override { mText = text; }
    QString text() const override { return mText; }

private:
    QString mText;
};

Pasteboard* gInstalled = nullptr;

} // namespace

Pasteboard& Pasteboard::general()
{
    static MemoryPasteboard memory;
    return gInstalled ? *gInstalled : memory;
}

void Pasteboard::install(Pasteboard* pasteboard)
{
    gInstalled = pasteboard;
}

} // namespace velloria
