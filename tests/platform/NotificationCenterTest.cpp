#include "platform/NotificationCenter.h"

#include <QCoreApplication>
#include <QThread>
#include <gtest/gtest.h>
#include <thread>

namespace velloria
{

namespace
{

const QString kZoom = QStringLiteral("zoomDidChange");

} // namespace

TEST(NotificationCenterTest, CallsWhoAskedForThatNameAndSender)
{
    NotificationCenter center;
    const int first = 0;
    const int second = 0;
    std::string calls;
    center.addObserver(kZoom, [&](const void* sender) { calls += sender == &first ? "a1" : "a"; });
    center.addObserver(
        kZoom, [&](const void*) { calls += "b"; }, &first);
    const auto removed = center.addObserver(kZoom, [&](const void*) { calls += "c"; });
    center.addObserver(QStringLiteral("scrolled"), [&](const void*) { calls += "d"; });
    center.removeObserver(removed);
    for (const int* sender : {&first, &second, static_cast<const int*>(nullptr)}) {
        center.post(kZoom, sender);
        calls += " ";
    }
    EXPECT_EQ(calls, "a1b a a ");
}

TEST(NotificationCenterTest, ObserversComeAndGoDuringAPost)
{
    NotificationCenter center;
    std::string calls;
    NotificationCenter::Token self = 0;
    NotificationCenter::Token other = 0;
    const auto held = std::make_shared<std::string>("a");
    self = center.addObserver(kZoom, [&, held](const void*) {
        center.removeObserver(self);
        center.removeObserver(other);
        center.addObserver(kZoom, [&](const void*) { calls += "d"; });
        calls += *held;
    });
    other = center.addObserver(kZoom, [&](const void*) { calls += "b"; });
    center.addObserver(kZoom, [&](const void*) { calls += "c"; });
    center.post(kZoom);
    EXPECT_EQ(calls, "ac");
    center.post(kZoom);
    EXPECT_EQ(calls, "accd");
}

TEST(NotificationCenterTest, APostFromAnotherThreadArrivesOnTheMainThread)
{
    NotificationCenter center;
    QThread* calledOn = nullptr;
    center.addObserver(kZoom, [&](const void*) { calledOn = QThread::currentThread(); });
    std::thread([&] { center.post(kZoom); }).join();
    EXPECT_EQ(calledOn, nullptr);
    QCoreApplication::processEvents();
    EXPECT_EQ(calledOn, QCoreApplication::instance()->thread());
}

} // namespace velloria
