#include "platform/Pasteboard.h"

#include <gtest/gtest.h>

namespace velloria
{

namespace
{

class FixedPasteboard : public Pasteboard
{
public:
    void setText(const QString&) override {}
    QString text() const override { return QStringLiteral("fixed"); }
};

} // namespace

TEST(PasteboardTest, TextStaysInMemoryUnlessAnotherPasteboardIsInstalled)
{
    Pasteboard::general().setText(QStringLiteral("kept"));
    FixedPasteboard fixed;
    Pasteboard::install(&fixed);
    Pasteboard::general().setText(QStringLiteral("lost"));
    EXPECT_EQ(Pasteboard::general().text(), QStringLiteral("fixed"));
    Pasteboard::install(nullptr);
    EXPECT_EQ(Pasteboard::general().text(), QStringLiteral("kept"));
}

} // namespace velloria
