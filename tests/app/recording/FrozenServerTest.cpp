#include "app/kit/AppTestKit.h"
#include "controllers/InputLevelsController.h"
#include "controllers/RecordingController.h"
#include "controllers/TransportController.h"
#include "engine/PulseServer.h"
#include "platform/Log.h"
#include "platform/hardware/PulseHardware.h"

#include <QElapsedTimer>
#include <QMessageBox>
#include <QPushButton>

namespace velloria::test
{

/// A window on a real sound server that stops answering.
class FrozenServerTest : public AppTest
{
protected:
    FrozenServerTest()
    {
        AudioHardware::setCurrent(std::make_shared<PulseHardware>(std::chrono::milliseconds(750)));
    }
    ~FrozenServerTest() override
    {
        server.thaw();
        for (DocumentWindow* const window : std::vector(editor.windows()))
            window->closeWithoutAsking();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        InputLevelsController::releaseShared();
        AudioHardware::setCurrent(nullptr);
        for (const auto& [name, value] : mEnvironment)
            qputenv(name, value);
    }

    // On a busy machine; a take that does not end is waited for five seconds.
    static constexpr qint64 kAtOnceMilliseconds = 3000;

private:
    // The server sets them for who talks to it.
    const std::vector<std::pair<const char*, QByteArray>> mEnvironment = {
        {"HOME", qgetenv("HOME")},
        {"XDG_RUNTIME_DIR", qgetenv("XDG_RUNTIME_DIR")},
        {"DBUS_SESSION_BUS_ADDRESS", qgetenv("DBUS_SESSION_BUS_ADDRESS")}};

protected:
    kit::PulseServer server{{{"two48", 48000, 2}}};
    LogCapture log;
};

TEST_F(FrozenServerTest, ATakeIsCompleteAndTheQuestionComesAtOnce)
{
    editor.newDocument();
    DocumentWindow* const window = editor.windows().front();
    window->controller().recording().record();
    ASSERT_TRUE(waitUntil([&] { return window->controller().transport().cueTime() > 0.5; }));
    server.freeze();
    // What was on its way still comes in.
    QTest::qWait(300);
    const double recorded = window->controller().transport().cueTime();
    QElapsedTimer elapsed;
    qint64 untilAsked = -1;
    whenShown<QMessageBox>([&](QMessageBox& box) {
        untilAsked = elapsed.elapsed();
        box.button(QMessageBox::Cancel)->click();
    });
    elapsed.start();
    EXPECT_FALSE(editor.quit());
    EXPECT_GE(untilAsked, 0);
    EXPECT_LT(untilAsked, kAtOnceMilliseconds);
    EXPECT_FALSE(window->controller().recording().isRecording());
    EXPECT_GE(window->document().totalTime(), recorded) << "the end of the take is there";
}

TEST_F(FrozenServerTest, AWindowThatPlaysGoesAtOnce)
{
    DocumentWindow* const window = open(makeLongSound("long.wav", 60 * 44100));
    window->controller().transport().play();
    ASSERT_TRUE(waitUntil([&] { return window->controller().transport().cueTime() > 0.3; }));
    server.freeze();
    QTest::qWait(300);
    QElapsedTimer elapsed;
    elapsed.start();
    EXPECT_TRUE(editor.quit());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    AudioHardware::setCurrent(nullptr);
    EXPECT_LT(elapsed.elapsed(), kAtOnceMilliseconds);
    EXPECT_TRUE(editor.windows().empty());
}

TEST_F(FrozenServerTest, AWindowThatWasOpenedMeanwhileGoesAtOnce)
{
    server.freeze();
    editor.newDocument();
    DocumentWindow* const window = open(makeSound());
    QElapsedTimer elapsed;
    elapsed.start();
    window->controller().transport().play();
    EXPECT_FALSE(window->controller().transport().isPlaying());
    EXPECT_TRUE(editor.quit());
    EXPECT_LT(elapsed.elapsed(), kAtOnceMilliseconds) << "it asked the server once";
}

} // namespace velloria::test
