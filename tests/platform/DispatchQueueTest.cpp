#include "platform/DispatchQueue.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>
#include <atomic>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace velloria
{

using namespace std::chrono_literals;

TEST(DispatchQueueTest, JobsOfManyThreadsRunOneAtATimeAndInEachThreadsOrder)
{
    constexpr int numThreads = 4;
    constexpr int numJobs = 2000;
    // Deliberately without a lock: the queue is all that protects them.
    std::vector<int> nextOfThread(numThreads, 0);
    int numRun = 0;
    bool isInOrder = true;
    {
        DispatchQueue queue(QStringLiteral("test"));
        std::vector<std::thread> threads;
        for (int thread = 0; thread < numThreads; ++thread) {
            threads.emplace_back([&, thread] {
                for (int i = 0; i < numJobs; ++i) {
                    const auto job = [&, thread, i] {
                        isInOrder &= nextOfThread[static_cast<size_t>(thread)]++ == i;
                        ++numRun;
                    };
                    if (i % 7 == thread)
                        queue.sync(job);
                    else
                        queue.async(job);
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
    }
    EXPECT_TRUE(isInOrder);
    EXPECT_EQ(numRun, numThreads * numJobs);
}

TEST(DispatchQueueTest, SyncOnAnIdleQueueStaysOnItsThreadAndElseWaitsInLine)
{
    DispatchQueue queue(QStringLiteral("test"));
    std::thread::id ranOn;
    queue.sync([&] { ranOn = std::this_thread::get_id(); });
    EXPECT_EQ(ranOn, std::this_thread::get_id());

    std::string order;
    queue.async([&] {
        std::this_thread::sleep_for(20ms);
        order += "a";
    });
    queue.async([&] { order += "b"; });
    queue.sync([&] { order += "c"; });
    EXPECT_EQ(order, "abc");
}

TEST(DispatchQueueTest, JobsMayWaitForOtherQueues)
{
    constexpr size_t numQueues = 40;
    std::vector<std::unique_ptr<DispatchQueue>> queues;
    std::vector<std::promise<int>> results(numQueues + 1);
    for (size_t i = 0; i < numQueues; ++i) {
        queues.push_back(std::make_unique<DispatchQueue>(QString::number(i)));
        queues.back()->async([&results, i] { results[i].set_value(results[i + 1].get_future().get() + 1); });
    }
    results[numQueues].set_value(0);
    EXPECT_EQ(results[0].get_future().get(), static_cast<int>(numQueues));

    int depth = 0;
    queues[0]->sync([&] { queues[1]->sync([&] { queues[2]->sync([&] { depth = 3; }); }); });
    EXPECT_EQ(depth, 3);
}

TEST(DispatchQueueTest, DestructionWaitsForJobsAndForTheJobsTheyAdd)
{
    std::atomic<int> numRun = 0;
    {
        DispatchQueue queue(QStringLiteral("test"));
        queue.async([&] {
            std::this_thread::sleep_for(10ms);
            queue.async([&] { ++numRun; });
            ++numRun;
        });
    }
    EXPECT_EQ(numRun, 2);
}

TEST(DispatchQueueTest, AJobMayHoldTheLastReferenceToItsQueue)
{
    std::promise<void> isDone;
    std::promise<void> mayStart;
    int numRun = 0;
    auto queue = std::make_shared<DispatchQueue>(QStringLiteral("test"));
    queue->async([queue, &mayStart] { mayStart.get_future().wait(); });
    queue->async([&] { ++numRun; });
    queue->async([&] {
        ++numRun;
        isDone.set_value();
    });
    queue = nullptr;
    mayStart.set_value();
    ASSERT_EQ(isDone.get_future().wait_for(10s), std::future_status::ready);
    EXPECT_EQ(numRun, 2);
}

TEST(DispatchQueueTest, AGroupIsIdleOnceItsJobsAndWhatTheyHeldAreGone)
{
    DispatchQueue first(QStringLiteral("first"));
    DispatchQueue second(QStringLiteral("second"));
    const auto group = std::make_shared<DispatchGroup>();
    const auto held = std::make_shared<int>(0);
    std::atomic<int> numRun = 0;
    const auto job = [held, &numRun] {
        std::this_thread::sleep_for(1ms);
        ++numRun;
    };
    for (int i = 0; i < 10; ++i)
        (i % 2 == 0 ? first : second).async(group, job);
    EXPECT_FALSE(group->isIdle());
    group->wait();
    EXPECT_TRUE(group->isIdle());
    EXPECT_EQ(numRun, 10);
    EXPECT_EQ(held.use_count(), 2);
}

TEST(DispatchQueueTest, PostedJobsRunInOrderOnTheMainThreadLater)
{
    std::vector<int> order;
    bool isOnMainThread = true;
    const auto jobOf = [&](int number) {
        return [&, number] {
            isOnMainThread &= QThread::currentThread() == QCoreApplication::instance()->thread();
            order.push_back(number);
        };
    };
    postToMainThread(jobOf(1));
    EXPECT_TRUE(order.empty());
    std::thread([&] { postToMainThread(jobOf(2)); }).join();
    postToMainThread(jobOf(3));
    QCoreApplication::processEvents();
    EXPECT_EQ(order, (std::vector{1, 2, 3}));
    EXPECT_TRUE(isOnMainThread);
}

TEST(RunConcurrentlyTest, CallsEachIndexOnce)
{
    for (const int count : {0, 1, 2, 3, 1000}) {
        std::vector<std::atomic<int>> numCalls(static_cast<size_t>(count));
        runConcurrently(count, [&](int i) { ++numCalls[static_cast<size_t>(i)]; });
        for (const auto& calls : numCalls)
            EXPECT_EQ(calls, 1);
    }
}

TEST(RunConcurrentlyTest, SpreadsWorkOverThreadsWhenThereAreCores)
{
    std::atomic<int> numInside = 0;
    std::atomic<bool> wereTogether = QThread::idealThreadCount() == 1;
    runConcurrently(2, [&](int) {
        ++numInside;
        const auto end = std::chrono::steady_clock::now() + 5s;
        while (!wereTogether && std::chrono::steady_clock::now() < end)
            wereTogether = wereTogether || numInside == 2;
    });
    EXPECT_TRUE(wereTogether);
}

TEST(RunConcurrentlyTest, LoopsInsideLoopsAndOnSeveralThreadsEnd)
{
    std::atomic<int> numCalls = 0;
    const auto nested = [&] {
        for (int round = 0; round < 50; ++round)
            runConcurrently(4, [&](int) {
                runConcurrently(3, [&](int) { runConcurrently(2, [&](int) { ++numCalls; }); });
            });
    };
    std::thread other(nested);
    nested();
    other.join();
    EXPECT_EQ(numCalls, 2 * 50 * 4 * 3 * 2);
}

TEST(RunConcurrentlyTest, ManySmallLoopsSeeEachOthersResults)
{
    std::vector<int> values(3, 0);
    for (int round = 0; round < 20'000; ++round)
        runConcurrently(3, [&](int i) { ++values[static_cast<size_t>(i)]; });
    EXPECT_EQ(values, (std::vector{20'000, 20'000, 20'000}));
}

TEST(RunConcurrentlyTest, ACallThatWaitsHelpsWithTheLoopsInsideOfTheOneItWaitsFor)
{
    const int numCores = QThread::idealThreadCount();
    if (numCores < 2)
        GTEST_SKIP() << "needs two cores";
    // All but the first call wait for it, so no thread is left for its inner loop but those that wait.
    std::atomic<int> numInside = 0;
    std::atomic<bool> isDone = false;
    std::atomic<bool> didMeet = false;
    std::atomic<int> mostInOneThread = 0;
    const auto meet = [&](int) {
        ++numInside;
        const auto end = std::chrono::steady_clock::now() + 20s;
        while (numInside < numCores && std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
        didMeet = numInside == numCores;
    };
    runConcurrently(4 * numCores, [&](int i) {
        thread_local int numCalls = 0;
        mostInOneThread = std::max(mostInOneThread.load(), ++numCalls);
        if (i == 0) {
            runConcurrently(numCores, meet);
            isDone = true;
            wakeWaitingCalls();
        } else {
            waitAndHelp([&] { return isDone.load(); });
        }
        --numCalls;
    });
    EXPECT_TRUE(didMeet);
    EXPECT_EQ(mostInOneThread, 1) << "a call was begun inside of another one";
}

} // namespace velloria
