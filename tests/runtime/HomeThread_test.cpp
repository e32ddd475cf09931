#include "QtProbe.h"

#include "runtime/GarbageCollection.h"
#include "runtime/HomeThread.h"
#include "runtime/destroyNow.h"
#include "runtime/refptr.h"
#include "support/repetitions.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>
#include <vector>

namespace {

using ebo::GarbageCollection;
using ebo::HomeThread;
using ebo::makeRef;
using ebo::refptr;
using runtimetest::QtProbe;

TEST(HomeThread, IsJoinedByItsEnd)
{
    HomeThread thread;
    thread.start();
    std::atomic<bool> ran{false};
    QObject worker;
    worker.moveToThread(&thread);
    QMetaObject::invokeMethod(&worker, [&] {
        ran = true;
        QThread::currentThread()->quit();
    });
    thread.wait();
    EXPECT_TRUE(ran);
}

TEST(HomeThread, ThatHasNeverRunEndsAtOnce)
{
    const HomeThread thread;
    EXPECT_FALSE(thread.isRunning());
}

TEST(HomeThread, CannotFinishWhileItIsHeld)
{
    HomeThread thread;
    std::promise<void> finishing;
    QObject::connect(
        &thread, &QThread::finished, &thread, [&] { finishing.set_value(); }, Qt::DirectConnection);
    auto held = HomeThread::hold();
    thread.start();
    thread.quit();
    auto future = finishing.get_future();
    EXPECT_FALSE(thread.wait(50)) << "it waits for whoever looks";
    held.unlock();
    EXPECT_TRUE(thread.wait());
    future.get();
}

/// Objects lose their last reference while their threads end and are deleted. Each of them must end, once,
/// and nobody may look at a thread that has gone; the sanitizer sees that.
TEST(HomeThread, ObjectsEndHoweverTheirThreadEndsMeanwhile)
{
    constexpr int kObjects = 20;
    std::atomic<int> ended{0};
    const int rounds = testsupport::repetitions(500);
    for (int round = 0; round < rounds; ++round) {
        auto home = std::make_unique<HomeThread>();
        home->start();
        std::vector<ebo::Irefcounted*> dropped;
        for (int i = 0; i < kObjects; ++i) {
            auto probe = makeRef<QtProbe>([&] { ++ended; });
            probe->moveToThread(home.get());
            dropped.push_back(probe.detach());
        }
        std::thread ending([&] {
            for (ebo::Irefcounted*& object : dropped)
                ebo::destroyNow(object, false);
        });
        home->quit();
        home.reset();
        ending.join();
        ASSERT_EQ(ended, (round + 1) * kObjects);
    }
}

}  // namespace
