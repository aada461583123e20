#include "app/waveform/ZoomReadout.h"
#include "app/kit/AppTestKit.h"

#include <QHelpEvent>
#include <QMenu>

namespace velloria::test
{

namespace
{

class ZoomReadoutTest : public AppTest
{
};

} // namespace

TEST_F(ZoomReadoutTest, NumbersHaveThreeDigitsAndNoIdleZeros)
{
    const std::pair<double, const char*> cases[] = {
        {1, "1 : 1"},         {1.2345, "1 : 1.23"}, {39.38, "1 : 39.4"},        {64, "1 : 64"},
        {511.999, "1 : 512"}, {4096, "1 : 4,096"},  {2097152, "1 : 2,097,152"},
    };
    for (const auto& [zoom, text] : cases)
        EXPECT_EQ(ZoomReadout::textOf(zoom), QString::fromUtf8(text));
}

TEST_F(ZoomReadoutTest, FollowsTheViewAndOffersZooms)
{
    DocumentWindow* const window = open(makeSound("long.wav", 4'410'000));
    WaveformContext& context = window->view().context();
    auto& readout = part<ZoomReadout>(*window);
    const int width = readout.width();
    context.geometry().setZoomKeepingPixel(256, 100);
    EXPECT_EQ(readout.text(), QStringLiteral("1 : 256"));
    EXPECT_EQ(readout.accessibleName(), QStringLiteral("Zoom: 1 : 256"));
    // A pixel is 256 frames of 44,100 a second; the view's width says the rest.
    QHelpEvent help(QEvent::ToolTip, readout.rect().center(), readout.mapToGlobal(readout.rect().center()));
    QApplication::sendEvent(&readout, &help);
    const double seconds = context.geometry().viewWidth() * 256 / 44100;
    for (const QString& part : {QStringLiteral("5.80 ms"), QString::number(seconds, 'f', 2) + " s"})
        EXPECT_TRUE(readout.toolTip().contains(part)) << readout.toolTip().toStdString();

    const auto choose = [&readout](const QString& text) {
        for (QAction* const action : readout.menu()->actions())
            if (action->text().remove(QLatin1Char('&')) == text)
                action->trigger();
    };
    choose(QStringLiteral("1 : 4,096"));
    EXPECT_EQ(context.geometry().zoom(), 4096);
    choose(QStringLiteral("Fit in Window"));
    EXPECT_TRUE(context.isFitted());
    choose(QStringLiteral("Previous Zoom"));
    EXPECT_EQ(readout.text(), QStringLiteral("1 : 4,096"));
    EXPECT_EQ(readout.width(), width) << "nothing beside it moves";
    keepPicture(*window, QStringLiteral("zoom"));
}

} // namespace velloria::test
