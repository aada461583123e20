#include "app/kit/AppTestKit.h"
#include "app/progress/BusyState.h"
#include "app/progress/ProgressClock.h"
#include "app/progress/ProgressPanel.h"
#include "app/progress/ProgressSheet.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QPushButton>
#include <thread>

namespace velloria::test
{

TEST(ProgressClockTest, ShowsOnlyWhatTakesMoreThanASecond)
{
    struct Case {
        const char* name;
        double elapsed;
        double value;
        bool isVisible;
    };
    const Case cases[] = {
        {"nothing known yet", 0.5, 0.0, false},   {"half a second in all", 0.25, 0.5, false},
        {"two seconds in all", 0.5, 0.25, true},  {"nothing known for long", 1.1, 0.0, true},
        {"the first block", 0.01, 0.0001, false}, {"done in time", 0.9, 0.95, false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ProgressClock().update(c.elapsed, c.value).isVisible, c.isVisible) << c.name;
}

TEST(ProgressClockTest, NewValuesComeAtMostTwelveTimesASecond)
{
    ProgressClock clock;
    int numDue = 0;
    for (int i = 0; i < 1000; ++i)
        numDue += clock.update(1.0 + 0.001 * i, 0.1).isDue ? 1 : 0;
    EXPECT_GE(numDue, 11);
    EXPECT_LE(numDue, 13);
    EXPECT_TRUE(clock.update(2.5, 0.1).isVisible);
}

TEST(ProgressClockTest, TellsTheTimeLeftInWords)
{
    EXPECT_EQ(ProgressClock::remainingText(0.4), QStringLiteral("1 second"));
    EXPECT_EQ(ProgressClock::remainingText(1.2), QStringLiteral("2 seconds"));
    EXPECT_EQ(ProgressClock::remainingText(75), QStringLiteral("75 seconds"));
    EXPECT_EQ(ProgressClock::remainingText(76), QStringLiteral("2 minutes"));
    EXPECT_EQ(ProgressClock::remainingText(601), QStringLiteral("11 minutes"));
    EXPECT_TRUE(ProgressClock().update(0.9, 0.1).remaining.isEmpty());
    EXPECT_EQ(ProgressClock().update(2, 0.5).remaining, QStringLiteral("2 seconds"));
}

/// Work that would take four seconds and stops when it is told to.
class ProgressSheetTest : public testing::Test
{
protected:
    ProgressSheetTest()
    {
        window.resize(500, 300);
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
    }

    static ProgressPanel* panel()
    {
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            auto* const found = qobject_cast<ProgressPanel*>(widget);
            if (found && found->isVisible())
                return found;
        }
        return nullptr;
    }

    /// Seconds until the work ended; `during` runs when the panel is there.
    double work(const std::function<void(ProgressPanel&)>& during)
    {
        QElapsedTimer elapsed;
        elapsed.start();
        ProgressSheet sheet(QStringLiteral("Working"), &window);
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, &poll, [&] {
            if (!panel())
                return;
            poll.stop();
            during(*panel());
        });
        poll.start(20);
        while (elapsed.elapsed() < 4000 && !sheet.isCancelled()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            sheet.setProgressValue(static_cast<double>(elapsed.elapsed()) / 4000);
        }
        return static_cast<double>(elapsed.elapsed()) / 1000;
    }

    QWidget window;
};

TEST_F(ProgressSheetTest, TheButtonCancels)
{
    const double seconds = work([](ProgressPanel& shown) {
        keepPicture(shown, QStringLiteral("progress"));
        QTest::mouseClick(shown.findChild<QPushButton*>(), Qt::LeftButton);
    });
    EXPECT_LT(seconds, 2);
    EXPECT_EQ(panel(), nullptr);
}

TEST_F(ProgressSheetTest, EscapeCancelsWhereverTheKeyboardIs)
{
    const double seconds = work([this](ProgressPanel&) { QTest::keyClick(&window, Qt::Key_Escape); });
    EXPECT_LT(seconds, 2);
}

TEST_F(ProgressSheetTest, NothingElseReachesTheWindowsMeanwhile)
{
    QPushButton button(&window);
    button.show();
    int numClicks = 0;
    QObject::connect(&button, &QPushButton::clicked, &button, [&numClicks] { ++numClicks; });
    work([&](ProgressPanel& shown) {
        QTest::mouseClick(&button, Qt::LeftButton);
        QTest::keyClick(&button, Qt::Key_Space);
        window.close();
        QTest::keyClick(&shown, Qt::Key_Escape);
    });
    EXPECT_EQ(numClicks, 0);
    EXPECT_TRUE(window.isVisible());
    QTest::mouseClick(&button, Qt::LeftButton);
    EXPECT_EQ(numClicks, 1);
}

TEST_F(ProgressSheetTest, QuickWorkShowsNothing)
{
    ProgressSheet sheet(QStringLiteral("Quick"), &window);
    for (int i = 0; i <= 100; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(4));
        sheet.setProgressValue(i / 100.0);
        EXPECT_EQ(panel(), nullptr);
    }
}

TEST_F(ProgressSheetTest, ReportsFromAnotherThreadAreShown)
{
    ProgressSheet sheet(QStringLiteral("Elsewhere"), &window);
    std::thread worker([&sheet] {
        for (int i = 0; i < 60; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            sheet.setProgressValue(i / 1000.0);
        }
    });
    EXPECT_TRUE(waitUntil([] { return panel() != nullptr; }));
    worker.join();
}

} // namespace velloria::test
